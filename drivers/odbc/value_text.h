// Numbers and times as texts, and the reverse.
#pragma once

#include <string>
#include <string_view>

#include "drivers/odbc/column_types.h"
#include "platform/int64.h"
#include "platform/qxdb/timestamp.h"

namespace qxdrivers::odbc {

// At the end of `out`.
void AppendWhole(__int64 value, std::string& out);
void AppendWhole(unsigned long long value, std::string& out);
// The shortest form that reads back as the same number; "NaN", "Infinity" and "-Infinity" for what is none.
void AppendReal(double value, std::string& out);
void AppendReal(float value, std::string& out);

// Reads ISO text as a server writes it into the fields of a timestamp, whose format stays: a date, a time of
// day (24:00:00 too), or both. With `zeroDates` a year, month or day of 0 is a date too. False, and nothing
// changed, for any other text.
bool ReadTime(std::string_view text, TimePart part, bool zeroDates, qxdb::Timestamp& value);

// The ISO text of a timestamp: a date, a time of day, or both, with the digits of the fraction that there
// are.
std::string TimeText(const qxdb::Timestamp& value, TimePart part);

}  // namespace qxdrivers::odbc
