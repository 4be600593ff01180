// The order of texts as people read them: case does not matter, and digit runs count by their value.
#pragma once

#include <cstddef>
#include <locale>

#include "platform/export.h"

namespace qxdbsqlengine {

// Lower case of all bytes by the default locale. Any thread; the table that Current gives is the calling
// thread's and stays valid until the thread's next call of Current.
class QXSENG2_API FoldTable {
  public:
    explicit FoldTable(const std::locale& source);
    // Of the default locale as it is now.
    static const FoldTable& Current();

    // As a signed character, for that is how texts are ordered.
    signed char operator[](char byte) const { return folded[static_cast<unsigned char>(byte)]; }

  private:
    signed char folded[256];
};

// A byte from "0" to "9"; nothing else counts, whatever the locale.
inline bool IsDigitByte(char byte) {
    return byte >= '0' && byte <= '9';
}

// The comparison works on forward iterators over bytes, so values in pages are compared where they lie.
template <class Iterator>
Iterator EndOfDigits(Iterator i, Iterator end) {
    while (i != end && IsDigitByte(*i))
        ++i;
    return i;
}

// Two digit runs by value; among equal values the one with more leading zeros is less. `option` not 0: digit
// by digit from the left, as digits behind a point.
template <class IteratorA, class IteratorB>
int CompareDigitRuns(IteratorA a, IteratorA aEnd, std::ptrdiff_t aLength, IteratorB b, IteratorB bEnd,
                     std::ptrdiff_t bLength, int option) {
    std::ptrdiff_t excess = aLength - bLength;
    if (option == 0) {
        for (; excess > 0; ++a, --excess) {
            if (*a != '0')
                return 1;
        }
        for (; excess < 0; ++b, ++excess) {
            if (*b != '0')
                return -1;
        }
    }
    for (; a != aEnd && b != bEnd; ++a, ++b) {
        const char x = *a;
        const char y = *b;
        if (x != y)
            return x < y ? -1 : 1;
    }
    if (aLength == bLength)
        return 0;
    return aLength < bLength ? 1 : -1;
}

template <class IteratorA, class IteratorB>
int CompareDigitRuns(IteratorA a, IteratorA aEnd, IteratorB b, IteratorB bEnd, int option) {
    std::ptrdiff_t aLength = 0;
    for (IteratorA i = a; i != aEnd; ++i)
        ++aLength;
    std::ptrdiff_t bLength = 0;
    for (IteratorB i = b; i != bEnd; ++i)
        ++bLength;
    return CompareDigitRuns(a, aEnd, aLength, b, bEnd, bLength, option);
}

// Negative, 0 or positive. No consistent order (101 < 110 < 1000 < 101), since where two texts differ it
// looks back by one byte only: good for two cells, not for a sort, which goes by sort keys (sort_key.h).
template <class IteratorA, class IteratorB>
int NaturalCompare(IteratorA a, IteratorA aEnd, IteratorB b, IteratorB bEnd, const FoldTable& fold,
                   int option) {
    IteratorA aPrevious = a;
    IteratorB bPrevious = b;
    bool first = true;
    for (;; ++a, ++b) {
        if (a == aEnd)
            return b == bEnd ? 0 : -1;
        if (b == bEnd)
            return 1;
        const char x = *a;
        const char y = *b;
        if (x != y && fold[x] != fold[y])
            break;
        first = false;
        aPrevious = a;
        bPrevious = b;
    }
    const char x = *a;
    const char y = *b;
    if (!first && IsDigitByte(*aPrevious) && IsDigitByte(*bPrevious)) {
        const int c = CompareDigitRuns(aPrevious, EndOfDigits(aPrevious, aEnd), bPrevious,
                                       EndOfDigits(bPrevious, bEnd), option);
        if (c != 0)
            return c;
        return static_cast<signed char>(x) < static_cast<signed char>(y) ? -1 : 1;
    }
    const IteratorA aDigits = EndOfDigits(a, aEnd);
    const IteratorB bDigits = EndOfDigits(b, bEnd);
    if (aDigits != a && bDigits != b)
        return CompareDigitRuns(a, aDigits, b, bDigits, option);
    return fold[x] < fold[y] ? -1 : 1;
}

}  // namespace qxdbsqlengine
