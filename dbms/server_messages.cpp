#include "dbms/server_messages.h"

namespace qxdbsqlengine {

std::vector<std::string> NonEmptyLines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t lineFeed = text.find('\n', begin);
        std::size_t end = lineFeed == std::string::npos ? text.size() : lineFeed;
        const std::size_t next = end + 1;
        if (end > begin && text[end - 1] == '\r')
            --end;
        if (end > begin)
            lines.push_back(text.substr(begin, end - begin));
        begin = next;
    }
    return lines;
}

}  // namespace qxdbsqlengine
