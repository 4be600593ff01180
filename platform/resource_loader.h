// The string table of the library: messages and SQL texts by number.
#pragma once

#include <cstddef>
#include <string>

#include "platform/export.h"

namespace qxdbsqlengine {

struct StringRow {
    int id;
    const char* text;
};

// Any thread. A missing row gives an empty text; callers run nothing for an empty text.
class QXSENG2_API ResourceLoader {
  public:
    // Clears `text`, then assigns the row's text. True when the row exists and is not empty; false for id -1.
    static bool LoadString(std::string& text, int id);
    static std::string LoadString(int id);

    // Adds the rows of a higher layer, sorted by id. The array must live as long as the process; adding the
    // same array twice changes nothing. Rows that are there already keep their text.
    static void AddTable(const StringRow* rows, std::size_t count);
};

}  // namespace qxdbsqlengine
