// What the tool knows of the terminal it runs on.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qxsql {

bool IsTerminal(int fileDescriptor);
// Columns of the screen behind standard output: the terminal's own, else COLUMNS, else 80.
int ScreenWidth();

// Screen columns that a UTF-8 text takes. A byte that is no UTF-8 takes one.
int DisplayWidth(std::string_view text);
// Appends `text` so that it takes at most `width` screen columns: line ends, tabs and control characters
// become visible marks of one column, and a text that is cut ends in "…". Returns the columns taken.
int AppendFitted(std::string& out, std::string_view text, int width);

// Largest resident memory of this process so far, in bytes.
std::size_t PeakMemory();

}  // namespace qxsql
