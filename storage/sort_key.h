// Order-preserving keys of cells, by which a container sorts millions of rows as plain integers.
//
// Every value has one encoded key, a string of bytes such that comparing two keys byte by byte gives the
// order of the values. Keys of texts, binaries and decimals end with a zero byte and hold no other; keys of
// fixed-size values have one length. Beyond its end a key reads as zero bytes. A sort looks at a key in
// parts: it never needs the whole one.
//
//   text      folded bytes (lower case of the default locale) as signed characters; a digit run is a marker
//   byte,
//             the number of significant digits, the digits in pairs, and the number of leading zeros
//             inverted. So runs order by their value, and equal values with more leading zeros come first.
//   bytes     as unsigned bytes
//   binary    length, then as unsigned bytes: the shorter value is less
//   integers  big-endian with the sign bit turned over
//   doubles   the same on the bits, negative ones inverted; -0 is 0, and NaN is less than anything else
//   decimal   sign, exponent, decimal digits: by value, whatever the scale
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/int64.h"
#include "storage/natural_compare.h"

namespace qxdb {
class Decimal;
}

namespace qxdbsqlengine {

// A place in the encoded key of one value: `skip` encoded bytes behind the key of the first `offset` bytes of
// the value. {0, n} is the n-th byte of the key. `offset` only moves to places where a key can be cut, so a
// reader of a long text can begin there instead of at its start.
struct SortKeyPosition {
    __int64 offset = 0;
    std::size_t skip = 0;
};

// One row while it is sorted: 12 bytes of key, most significant first, and the row: the physical one, or one
// that a sink translates.
struct SortItem {
    std::uint64_t high;
    std::uint64_t low;

    std::uint32_t Row() const { return static_cast<std::uint32_t>(low); }
};

inline bool operator<(const SortItem& left, const SortItem& right) {
    return left.high != right.high ? left.high < right.high : left.low < right.low;
}

// Where a column puts the key parts of many rows. Rows are ascending as far as possible, so the column's
// pages are read in order. One thread.
class SortKeySink {
  public:
    // `ranked`: the items hold a 4-byte rank in front, which stays, so that only 8 bytes of each part are
    // kept.
    // `physicalRows`: the physical rows by the rows of the items; null where they are the same.
    SortKeySink(SortItem* first, std::size_t itemCount, const SortKeyPosition& keyPosition, bool ranked,
                bool ascending, const int* physicalRows = nullptr)
        : items(first),
          count(itemCount),
          position(keyPosition),
          hasRank(ranked),
          mask(ascending ? 0 : ~0ULL),
          rowMap(physicalRows) {}

    std::size_t Count() const { return count; }
    // The physical row.
    int Row(std::size_t i) const {
        return rowMap ? rowMap[items[i].Row()] : static_cast<int>(items[i].Row());
    }
    // Where the part that is wanted begins, in every row's key; it has PartSize bytes.
    const SortKeyPosition& Position() const { return position; }
    // The same for keys that are never cut, those of fixed-size values and decimals.
    std::size_t Depth() const { return position.skip; }
    std::size_t PartSize() const { return hasRank ? 8 : 12; }

    // The part's bytes 0-7 as a big-endian number, and bytes 8-11.
    void Put(std::size_t i, std::uint64_t first8, std::uint32_t next4) {
        SortItem& item = items[i];
        first8 ^= mask;
        if (hasRank) {
            item.high = (item.high & 0xFFFFFFFF00000000ULL) | (first8 >> 32);
            item.low = (first8 << 32) | item.Row();
        } else {
            item.high = first8;
            item.low =
                (static_cast<std::uint64_t>(next4 ^ static_cast<std::uint32_t>(mask)) << 32) | item.Row();
        }
    }
    // The part as 12 bytes.
    void PutBytes(std::size_t i, const unsigned char* part) {
        std::uint64_t first8 = 0;
        for (int byte = 0; byte < 8; ++byte)
            first8 = (first8 << 8) | part[byte];
        std::uint32_t next4 = 0;
        for (int byte = 8; byte < 12; ++byte)
            next4 = (next4 << 8) | part[byte];
        Put(i, first8, next4);
    }
    // The part of a key of up to 8 bytes, left-justified in `key`.
    void PutShort(std::size_t i, std::uint64_t key) { Put(i, Depth() < 8 ? key << (Depth() * 8) : 0, 0); }

  private:
    SortItem* items;
    std::size_t count;
    SortKeyPosition position;
    bool hasRank;
    std::uint64_t mask;
    const int* rowMap;
};

// Left-justified 8-byte keys of numbers.
inline std::uint64_t SortKeyOf(__int64 value) {
    return static_cast<std::uint64_t>(value) ^ (1ULL << 63);
}
inline std::uint64_t SortKeyOf(int value) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(value) ^ 0x80000000U) << 32;
}
std::uint64_t SortKeyOf(double value);

// Encoders: each appends at most `maxBytes` bytes of the key from `position` on to `out` and moves `position`
// behind them. Nothing is appended behind the end of the key.

// Reads a part of a value: copies up to `count` bytes from byte `offset` on to `buffer` and returns how many.
class SortKeySource {
  public:
    virtual std::size_t ReadBytes(__int64 offset, char* buffer, std::size_t count) = 0;

  protected:
    ~SortKeySource() = default;
};

// Natural order of texts. For the calling thread only, and while the default locale stays.
class TextSortKey {
  public:
    TextSortKey();

    void Append(SortKeySource& source, SortKeyPosition& position, std::size_t maxBytes,
                std::string& out) const;
    // A part of a text's key, fast: 12 bytes of the key of `text` from byte `skip` on, zeros behind the end.
    // `whole`: nothing follows `text` in the value. False, and nothing usable in `part`, when more text is
    // needed; with `whole` it is always true.
    bool Part(const char* text, std::size_t length, bool whole, std::size_t skip, unsigned char* part) const;

  private:
    const FoldTable& fold;
};

void AppendBytesSortKey(SortKeySource& source, SortKeyPosition& position, std::size_t maxBytes,
                        std::string& out);
void AppendBinarySortKey(SortKeySource& source, __int64 length, SortKeyPosition& position,
                         std::size_t maxBytes, std::string& out);
void AppendDecimalSortKey(const qxdb::Decimal& value, SortKeyPosition& position, std::size_t maxBytes,
                          std::string& out);

}  // namespace qxdbsqlengine
