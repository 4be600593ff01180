// The value of a hexadecimal digit.
#pragma once

namespace qxdb {

// 0 to 15, or -1 for anything else; `c` may be the end mark of a stream.
inline int HexDigit(int c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

}  // namespace qxdb
