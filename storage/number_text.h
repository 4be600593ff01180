// Texts of numbers and back, as streams of the classic locale give and take them, without a stream.
#pragma once

#include <string>
#include <string_view>

#include "platform/int64.h"

namespace qxdbsqlengine {

void AppendDigits(__int64 value, std::string& out);
// At most 8 significant digits, 7 where 8 would give 9 characters or more.
void AppendFloatText(float value, std::string& out);
// With 15 significant digits, infinities and NaN included.
void AppendDoubleText(double value, std::string& out);

// What `stream >> value` leaves in a value that was 0: leading blanks are skipped, the number ends at the
// first character that can't belong to it, no number is 0, and a number out of range is the nearest limit.
void ParseNumber(std::string_view text, short& value);
void ParseNumber(std::string_view text, int& value);
void ParseNumber(std::string_view text, long& value);
void ParseNumber(std::string_view text, __int64& value);
void ParseNumber(std::string_view text, float& value);
void ParseNumber(std::string_view text, double& value);

}  // namespace qxdbsqlengine
