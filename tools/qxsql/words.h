// Taking the values of options apart.
#pragma once

#include <string>
#include <vector>

namespace qxsql {

// CLI11 hands out "a,b,c" as one text where the pieces are ours to name in messages.
std::vector<std::string> SplitAtCommas(const std::string& text);

// A whole number. Throws std::invalid_argument that begins with `what`, the option.
int ParseNumber(const std::string& text, const char* what);

}  // namespace qxsql
