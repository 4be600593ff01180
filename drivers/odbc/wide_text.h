// UTF-8, which the library speaks, and UTF-16, which ODBC speaks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "drivers/odbc/odbc_api.h"

namespace qxdrivers::odbc {

// Without a terminator.
using WideText = std::vector<SQLWCHAR>;

// Throws Errors for a text that is no UTF-8: what a server gets is never a guess.
WideText ToWide(std::string_view utf8);

// Appends in UTF-8. A surrogate that has no partner becomes three bytes of its own, so nothing is lost.
void AppendUtf8(const SQLWCHAR* text, std::size_t count, std::string& out);
// The same for a name or a message, which ends with a terminator when that comes first: drivers do not agree
// on what such a length counts.
void AppendTerminated(const SQLWCHAR* text, std::size_t most, std::string& out);

// How many bytes of a piece of UTF-8 are whole characters: a character that the end cuts off does not count.
std::size_t WholeCharacters(std::string_view utf8);

// True for the first half of a pair: it can only be converted together with what follows.
inline bool IsLeadSurrogate(SQLWCHAR unit) {
    return (unit & 0xFC00) == 0xD800;
}

}  // namespace qxdrivers::odbc
