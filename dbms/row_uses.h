// Which rows of the string table the handlers ask for, and with what. Handlers take their row numbers from
// such tables, so that a test can walk all of them.
#pragma once

#include <vector>

namespace qxdbsqlengine {

struct RowUse {
    int row;        // of the string table
    int arguments;  // how many places the caller fills
};

// Of the option table and of every handler. A new handler adds its own here.
std::vector<RowUse> GetRowUses();

}  // namespace qxdbsqlengine
