// Values that are read in pieces.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "drivers/odbc/statement_core.h"

namespace qxdrivers::odbc {

// Reads one value of the current row by SQLGetData, piece by piece; text becomes UTF-8 on the way. Opened for
// each value again, so that the memory of a piece serves them all. Used on the thread of the statement.
class LongReader {
  public:
    enum class Form { Narrow, Wide, Bytes };  // text in UTF-8, in UTF-16, or bytes

    // `column` from 1. The row must be the current one of the handle, and stay it.
    void Open(StatementCore& owner, SQLUSMALLINT ordinal, Form valueForm);
    // Forgets the value.
    void Close() { core = nullptr; }
    // Reads the first piece, if that has not come yet.
    bool IsNull();
    // Up to `length` bytes; fewer only at the end. Throws Errors.
    std::size_t Read(char* target, std::size_t length);
    // All that is left, at the end of `out`.
    void ReadAll(std::string& out);

  private:
    bool NextPiece();
    void Take(std::size_t bytes);

    StatementCore* core = nullptr;
    SQLUSMALLINT column = 0;
    Form form = Form::Bytes;
    bool started = false;
    bool isNull = false;
    bool atEnd = true;
    std::vector<SQLWCHAR> piece;  // as the driver fills it, of any form
    SQLWCHAR cutPair = 0;         // a first half at the end of a piece
    std::string ready;            // converted, or bytes
    std::size_t readyAt = 0;
};

}  // namespace qxdrivers::odbc
