// JSON strings.
#pragma once

#include <cstddef>
#include <string>

namespace qxsql {

// Appends UTF-16 text as a JSON string with its quotes, in UTF-8. Quotes, backslashes and control characters
// are escaped; half of a surrogate pair that stands alone, which UTF-8 cannot hold, becomes its \u escape, so
// that nothing is lost.
void AppendJsonString(std::string& out, const unsigned short* text, std::size_t length);

// A piece of such a string from `begin` on, without quotes: some thousand units, fewer at the end. Returns
// where the next piece begins. For texts of any length behind a buffer of bounded size.
std::size_t AppendJsonPiece(std::string& out, const unsigned short* text, std::size_t length,
                            std::size_t begin);

}  // namespace qxsql
