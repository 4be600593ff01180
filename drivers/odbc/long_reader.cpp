#include "drivers/odbc/long_reader.h"

#include <algorithm>
#include <cstring>

#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;

SQLSMALLINT CType(LongReader::Form form) {
    switch (form) {
        case LongReader::Form::Narrow:
            return SQL_C_CHAR;
        case LongReader::Form::Wide:
            return SQL_C_WCHAR;
        default:
            return SQL_C_BINARY;
    }
}

// Bytes that a driver keeps free at the end of a piece.
std::size_t TerminatorBytes(LongReader::Form form) {
    switch (form) {
        case LongReader::Form::Narrow:
            return 1;
        case LongReader::Form::Wide:
            return sizeof(SQLWCHAR);
        default:
            return 0;
    }
}

}  // namespace

void LongReader::Open(StatementCore& owner, SQLUSMALLINT ordinal, Form valueForm) {
    core = &owner;
    column = ordinal;
    form = valueForm;
    started = isNull = atEnd = false;
    cutPair = 0;
    ready.clear();
    readyAt = 0;
}

bool LongReader::IsNull() {
    if (!started) {
        NextPiece();
    }
    return isNull;
}

std::size_t LongReader::Read(char* target, std::size_t length) {
    std::size_t done = 0;
    while (done < length && (readyAt < ready.size() || NextPiece())) {
        const std::size_t count = std::min(length - done, ready.size() - readyAt);
        std::memcpy(target + done, ready.data() + readyAt, count);
        readyAt += count;
        done += count;
    }
    return done;
}

void LongReader::ReadAll(std::string& out) {
    do {
        out.append(ready, readyAt, std::string::npos);
        readyAt = ready.size();
    } while (NextPiece());
}

// True when `ready` has bytes again.
bool LongReader::NextPiece() {
    ready.clear();
    readyAt = 0;
    while (!atEnd && ready.empty()) {
        started = true;
        piece.resize(pieceBytes / sizeof(SQLWCHAR));
        SQLLEN indicator = 0;
        const SQLRETURN code = core->Call("SQLGetData", [&] {
            return SQLGetData(core->Raw(), column, CType(form), piece.data(), static_cast<SQLLEN>(pieceBytes),
                              &indicator);
        });
        if (code == SQL_NO_DATA || indicator == SQL_NULL_DATA) {
            isNull = code != SQL_NO_DATA;
            atEnd = true;
            break;
        }
        const std::size_t capacity = pieceBytes - TerminatorBytes(form);
        const bool more = indicator == SQL_NO_TOTAL || static_cast<std::size_t>(indicator) > capacity;
        atEnd = !more;
        Take(more ? capacity : static_cast<std::size_t>(indicator));
    }
    if (atEnd && cutPair != 0) {
        AppendUtf8(&cutPair, 1, ready);
        cutPair = 0;
    }
    return !ready.empty();
}

void LongReader::Take(std::size_t bytes) {
    if (form != Form::Wide) {
        ready.assign(reinterpret_cast<const char*>(piece.data()), bytes);
        return;
    }
    std::size_t units = bytes / sizeof(SQLWCHAR);
    const SQLWCHAR* begin = piece.data();
    if (cutPair != 0 && units > 0) {
        const SQLWCHAR pair[] = {cutPair, *begin};
        cutPair = 0;
        AppendUtf8(pair, 2, ready);
        ++begin;
        --units;
    }
    if (units > 0 && IsLeadSurrogate(begin[units - 1])) {
        cutPair = begin[--units];
    }
    AppendUtf8(begin, units, ready);
}

}  // namespace qxdrivers::odbc
