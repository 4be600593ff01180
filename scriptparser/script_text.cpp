#include "scriptparser/script_text.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <new>

#include "scriptparser/script_error.h"

namespace qxscriptparser {

namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::size_t kRoom = TextDecoder::kGrowth * kPiece;
constexpr std::size_t kSmallBlock = 4 * kRoom;

bool EndsLine(char c, char before) {
    return c == '\r' || (c == '\n' && before != '\r');
}

// The line ends in a stretch of text; a line feed that follows a carriage return belongs to it.
long CountLineEnds(const char* from, const char* end, char before) {
    constexpr int kBlock = 32;  // of a size that compilers make vector code for
    if (from == end)
        return 0;
    long count = EndsLine(*from, before) ? 1 : 0;
    for (++from; end - from >= kBlock; from += kBlock) {
        unsigned char inBlock = 0;
        for (int i = 0; i < kBlock; ++i)
            inBlock = static_cast<unsigned char>(
                inBlock +
                static_cast<unsigned char>((from[i] == '\r') | ((from[i] == '\n') & (from[i - 1] != '\r'))));
        count += inBlock;
    }
    for (; from != end; ++from)
        count += EndsLine(*from, from[-1]) ? 1 : 0;
    return count;
}

// Units that a stretch of UTF-8 takes in UTF-16.
std::uint64_t CountUnits(const char* from, const char* end) {
    std::uint64_t count = 0;
    for (; from != end; ++from) {
        const auto byte = static_cast<unsigned char>(*from);
        count += static_cast<std::uint64_t>((byte & 0xC0) != 0x80) + static_cast<std::uint64_t>(byte >= 0xF0);
    }
    return count;
}

}  // namespace

ScriptText::ScriptText(ScriptSource& newSource, const std::atomic<bool>& newStop)
    : source(newSource), stop(newStop), piece(kPiece) {
    MakeRoom();
    *data = '\0';
}

bool ScriptText::More() {
    const Position end = End();
    while (!atEnd && !stop) {
        if (decoder.FoundZero())
            RefuseZero();
        const std::size_t read = source.Read(piece.data() + inPiece, kPiece - inPiece);
        atEnd = read == 0;
        bytesRead += read;
        MakeRoom();
        const TextDecoder::Result result =
            decoder.Decode(piece.data(), inPiece + read, atEnd, data.get() + size);
        inPiece = inPiece + read - result.taken;
        if (inPiece != 0)
            std::memmove(piece.data(), piece.data() + result.taken, inPiece);
        size += result.written;
        data.get()[size] = '\0';
        if (End() != end)
            return true;
        if (atEnd && decoder.FoundZero())
            RefuseZero();
    }
    return false;
}

// Room for one decoded piece and the zero byte. What was dropped is given up when that is at least as much as
// what stays, so a byte is moved once on average.
void ScriptText::MakeRoom() {
    const auto dropped = static_cast<std::size_t>(wanted - base);
    const std::size_t left = size - dropped;
    if (dropped != 0 && left <= dropped) {
        CountTo(wanted);
        std::memmove(data.get(), data.get() + dropped, left);
        size = left;
        base = wanted;
        // Behind a very long statement its memory goes back.
        if (capacity > kSmallBlock && size + kRoom < kSmallBlock / 2)
            Resize(kSmallBlock);
    }
    if (capacity < size + kRoom + 1)
        Resize(size + size / 2 + kSmallBlock);
}

void ScriptText::Resize(std::size_t newCapacity) {
    char* const moved = static_cast<char*>(std::realloc(data.get(), newCapacity));
    if (moved == nullptr)
        throw std::bad_alloc();
    static_cast<void>(data.release());
    data.reset(moved);
    capacity = newCapacity;
}

void ScriptText::DropTo(Position at) {
    if (at > wanted)
        wanted = at;
}

void ScriptText::Blank(Position from, Position to) {
    CountTo(to);
    std::memset(data.get() + (from - base), ' ', static_cast<std::size_t>(to - from));
}

void ScriptText::CountTo(Position at) {
    if (at <= counted)
        return;
    const char* const from = Data(counted);
    const char* const to = Data(at);
    lineEnds += CountLineEnds(from, to, lastByte);
    lastByte = to[-1];
    if (decoder.IsUtf16())
        units += CountUnits(from, to);
    std::deque<TextDecoder::Widened>& widened = decoder.WidenedBytes();
    for (; !widened.empty() && widened.front().position < at; widened.pop_front())
        extraBytes += widened.front().extra;
    counted = at;
}

long ScriptText::LineOf(Position at) {
    CountTo(at);
    return lineEnds + 1;
}

std::uint64_t ScriptText::OffsetOf(Position at) {
    CountTo(at);
    // A last byte that is only half of a unit counts as one.
    return std::min(decoder.MarkSize() + (decoder.IsUtf16() ? 2 * units : counted - extraBytes), bytesRead);
}

void ScriptText::RefuseZero() {
    const std::uint64_t offset = OffsetOf(End());
    throw ScriptError(E_FAIL, "The script is not text: the byte at offset " + std::to_string(offset) +
                                  ", in line " + std::to_string(LineOf(End())) + ", is zero.");
}

}  // namespace qxscriptparser
