#include "storage/natural_compare.h"

#include <climits>

namespace qxdbsqlengine {

FoldTable::FoldTable(const std::locale& source) {
    char bytes[UCHAR_MAX + 1];
    for (int i = 0; i <= UCHAR_MAX; ++i)
        bytes[i] = static_cast<char>(i);
    std::use_facet<std::ctype<char>>(source).tolower(bytes, bytes + UCHAR_MAX + 1);
    for (int i = 0; i <= UCHAR_MAX; ++i)
        folded[i] = static_cast<signed char>(bytes[i]);
}

const FoldTable& FoldTable::Current() {
    thread_local std::locale source;
    thread_local FoldTable table(source);
    const std::locale now;
    if (now != source) {
        table = FoldTable(now);
        source = now;
    }
    return table;
}

}  // namespace qxdbsqlengine
