// Values of the current row as texts, times and numbers.
#pragma once

#include <string>
#include <string_view>

#include "drivers/sqlite/declared_type.h"
#include "platform/int64.h"
#include "platform/qxdb/timestamp.h"

struct sqlite3_value;

namespace qxdrivers::sqlite {

// The bytes of a TEXT value, zero bytes included; valid until the statement moves.
std::string_view TextOf(sqlite3_value* value);
// The bytes of a BLOB or TEXT value.
std::string_view BytesOf(sqlite3_value* value);

// A value of any storage class as text, at the end of `out`. REAL comes in the shortest form that reads back
// as the same number, with a point; BLOB as hexadecimal digits; NULL as nothing.
void AppendValue(sqlite3_value* value, std::string& out);

// The value in quotes, cut after some 60 bytes, and its storage class: 'abc' (TEXT).
std::string QuotedValue(sqlite3_value* value);

// Reads ISO text, of a time of day alone when the part is one, into the fields of a timestamp, whose format
// stays. False, and nothing changed, for any other text.
bool ParseTime(std::string_view text, TimePart part, qxdb::Timestamp& value);

// False unless the number is whole and in the range of 64 bits.
bool ToInt64(double value, __int64& whole);
// False unless a double holds exactly this number.
bool AsExactDouble(__int64 value, double& number);

}  // namespace qxdrivers::sqlite
