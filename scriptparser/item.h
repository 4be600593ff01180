// What a script is split into.
#pragma once

#include <cstdint>
#include <string_view>

namespace qxscriptparser {

struct Item {
    std::string_view text;        // UTF-8, without its separator; valid during the call
    std::uint64_t endOffset = 0;  // in the script, behind the separator, in bytes
    long line = 0;                // of the first character of the text, from 1
    bool skip = false;            // nothing to run: comments, or a command of the server's own client
    bool isProcedureCall = false;
    bool isDataCopy = false;
};

class ItemSink {
  public:
    virtual ~ItemSink() = default;
    // False: no further items.
    virtual bool Put(const Item& item) = 0;
};

}  // namespace qxscriptparser
