#include "persistence/delimited_reader.h"

#include <algorithm>
#include <cstring>

namespace qxdbsqlengine {
namespace {

constexpr unsigned char kByteOrderMark[] = {0xEF, 0xBB, 0xBF};

bool IsBlank(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

}  // namespace

DelimitedReader::DelimitedReader(ByteSource& byteSource, std::size_t newBlockSize)
    : source(byteSource), blockSize(newBlockSize) {
    SetFormat(',', true);
}

void DelimitedReader::Start() {
    next = end = 0;
    blockOffset = 0;
    sourceEnded = false;
    atStart = true;
    line = 1;
    recordLine = 0;
    unclosedQuoteLine = 0;
}

void DelimitedReader::SetFormat(char separator, bool quotes) {
    separatorByte = separator;
    std::fill(std::begin(isQuote), std::end(isQuote), false);
    isQuote[static_cast<unsigned char>('"')] = quotes && separator != '"';
    isQuote[static_cast<unsigned char>('\'')] = quotes && separator != '\'';
    std::copy(std::begin(isQuote), std::end(isQuote), std::begin(stops));
    stops[static_cast<unsigned char>(separator)] = true;
    stops[static_cast<unsigned char>('\r')] = true;
    stops[static_cast<unsigned char>('\n')] = true;
}

void DelimitedReader::Release() {
    block.reset();
    blockOffset += static_cast<long long>(next);
    next = end = 0;
    sourceEnded = true;
}

std::size_t DelimitedReader::Refill(std::size_t count) {
    if (sourceEnded)
        return end - next;
    if (!block)
        block.reset(new char[blockSize]);
    const std::size_t rest = end - next;
    if (rest != 0)
        std::memmove(block.get(), block.get() + next, rest);
    blockOffset += static_cast<long long>(next);
    next = 0;
    end = rest;
    while (end < count && !sourceEnded) {
        const std::size_t got = source.Read(block.get() + end, blockSize - end);
        sourceEnded = got < blockSize - end;
        end += got;
    }
    return end;
}

void DelimitedReader::SkipByteOrderMark() {
    atStart = false;
    if (Available(sizeof kByteOrderMark) >= sizeof kByteOrderMark &&
        std::memcmp(block.get() + next, kByteOrderMark, sizeof kByteOrderMark) == 0)
        next += sizeof kByteOrderMark;
}

// At LF, CR LF or a CR that is the last byte of the input: moves behind it.
bool DelimitedReader::SkipLineEnd() {
    const std::size_t available = Available(2);
    if (available == 0)
        return false;
    const char* bytes = block.get() + next;
    if (bytes[0] == '\r' && (available == 1 || bytes[1] == '\n'))
        next += available == 1 ? 1 : 2;
    else if (bytes[0] == '\n')
        next += 1;
    else
        return false;
    ++line;
    return true;
}

bool DelimitedReader::ReadRecord(std::vector<std::string>& fields) {
    if (atStart)
        SkipByteOrderMark();
    recordLine = line;
    std::size_t count = 0;
    const bool more = !AtEnd();
    if (more && !SkipLineEnd()) {
        bool fieldFollows = true;
        while (fieldFollows) {
            if (count == fields.size())
                fields.emplace_back();
            fieldFollows = ReadField(fields[count++]);
        }
    }
    fields.resize(count);
    return more;
}

// Reads up to the separator or the end of the record. True when it was the separator: another field follows.
bool DelimitedReader::ReadField(std::string& field) {
    field.clear();
    std::size_t blankPrefix = 0;
    while (Available(1) != 0) {
        AppendRun(field);
        if (Available(3) == 0)  // a byte and the two behind it that can decide about it
            break;
        const unsigned char byte = static_cast<unsigned char>(block[next]);
        if (!stops[byte])  // the run ended with the block
            continue;
        if (isQuote[byte]) {
            ReadQuote(field, blankPrefix);
        } else if (byte == '\n' || byte == '\r') {
            if (SkipLineEnd())
                return false;
            ++next;
            if (static_cast<char>(byte) == separatorByte)
                return true;
            field += '\r';  // in the middle of a line
        } else {
            ++next;
            return true;
        }
    }
    return false;
}

// The ordinary bytes from here on, as far as the block reaches.
void DelimitedReader::AppendRun(std::string& field) {
    const char* const start = block.get() + next;
    const char* const last = block.get() + end;
    const char* stop = start;
    while (stop != last && !stops[static_cast<unsigned char>(*stop)])
        ++stop;
    field.append(start, stop);
    next += static_cast<std::size_t>(stop - start);
}

// A quote character outside quotes. `blankPrefix`: bytes of the field that are known to be white space.
void DelimitedReader::ReadQuote(std::string& field, std::size_t& blankPrefix) {
    const std::size_t available = Available(3);
    const char quote = block[next];
    const bool pair = available >= 2 && block[next + 1] == quote;
    const bool third = available >= 3 && block[next + 2] == quote;
    if (pair && !third) {
        field += quote;
        next += 2;
        return;
    }
    ++next;
    while (blankPrefix < field.size() && IsBlank(field[blankPrefix]))
        ++blankPrefix;
    if (blankPrefix == field.size())
        ReadQuoted(field, quote);
    else
        field += quote;
}

// Behind an opening quote: up to and with the closing one.
void DelimitedReader::ReadQuoted(std::string& field, char quote) {
    const long long openedInLine = line;
    while (Available(1) != 0) {
        const char* const start = block.get() + next;
        const char* stop = static_cast<const char*>(std::memchr(start, quote, end - next));
        const bool found = stop != nullptr;
        if (!found)
            stop = block.get() + end;
        field.append(start, stop);
        line += std::count(start, stop, '\n');
        next += static_cast<std::size_t>(stop - start);
        if (!found)
            continue;
        const bool doubled = Available(2) >= 2 && block[next + 1] == quote;
        next += doubled ? 2 : 1;
        if (!doubled)
            return;
        field += quote;
    }
    unclosedQuoteLine = openedInLine;
}

}  // namespace qxdbsqlengine
