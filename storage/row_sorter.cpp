#include "storage/row_sorter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <utility>

namespace qxdbsqlengine {

namespace {

using Rows = StorageBase<int, int, 65536>;

constexpr std::uint64_t LowHalf = 0xFFFFFFFFULL;
constexpr std::size_t PartBytes = 12;
constexpr std::size_t RankedPartBytes = 8;
// From this byte of the key on, ties are settled group by group: reading keys from their start costs more
// than jumping between pages.
constexpr std::size_t DeepFrom = 60;
// Groups up to this size are settled by their whole keys.
constexpr std::size_t SmallGroup = 16;
constexpr std::size_t FirstChunk = 64;
constexpr std::size_t LastChunk = 65536;

std::size_t RankOf(const SortItem& item) {
    return static_cast<std::size_t>(item.high >> 32);
}

// Length of the key of fixed-size values; 0 for keys that end with a zero byte.
std::size_t KeyLength(ColumnSetStorage& column) {
    switch (column.GetDataType()) {
        case DataTypeShort:
        case DataTypeInt:
        case DataTypeLong:
        case DataTypeInt64:
        case DataTypeFloat:
        case DataTypeDouble:
            return 8;
        case DataTypeTimestamp:
            return 16;
        default:
            return 0;
    }
}

// What to sort items by: the byte `level` of a key, most significant first, and the comparison of whole keys.
struct ByKeyAndRow {
    static constexpr int Bytes = 16;
    static unsigned Byte(const SortItem& item, int level) {
        return static_cast<unsigned>(
            (level < 8 ? item.high >> (56 - 8 * level) : item.low >> (120 - 8 * level)) & 0xFF);
    }
    bool operator()(const SortItem& a, const SortItem& b) const { return a < b; }
};
struct ByRow {
    static constexpr int Bytes = 4;
    static unsigned Byte(const SortItem& item, int level) { return (item.Row() >> (24 - 8 * level)) & 0xFF; }
    bool operator()(const SortItem& a, const SortItem& b) const { return a.Row() < b.Row(); }
};

// Below this many items a comparison sort is faster than another pass by byte.
constexpr std::ptrdiff_t RadixFrom = 1024;

// Sorts in place by one byte of the key after the other, most significant first.
template <class Order>
void RadixSort(SortItem* first, SortItem* last, int level, Order order) {
    std::array<std::uint32_t, 256> ends;
    for (;; ++level) {
        if (last - first < RadixFrom || level == Order::Bytes) {
            std::sort(first, last, order);
            return;
        }
        ends.fill(0);
        for (const SortItem* item = first; item != last; ++item)
            ++ends[Order::Byte(*item, level)];
        // A byte that all items share decides nothing.
        if (ends[Order::Byte(*first, level)] != static_cast<std::size_t>(last - first))
            break;
    }
    std::array<std::uint32_t, 256> next;
    std::uint32_t sum = 0;
    for (std::size_t byte = 0; byte < ends.size(); ++byte) {
        next[byte] = sum;
        sum += ends[byte];
        ends[byte] = sum;
    }
    const std::array<std::uint32_t, 256> starts = next;
    for (std::size_t byte = 0; byte < ends.size(); ++byte) {
        while (next[byte] < ends[byte]) {
            SortItem item = first[next[byte]];
            for (unsigned to = Order::Byte(item, level); to != byte; to = Order::Byte(item, level))
                std::swap(item, first[next[to]++]);
            first[next[byte]++] = item;
        }
    }
    for (std::size_t byte = 0; byte < ends.size(); ++byte) {
        if (ends[byte] - starts[byte] > 1)
            RadixSort(first + starts[byte], first + ends[byte], level + 1, order);
    }
}

template <class Order>
void SortItems(std::vector<SortItem>& items, std::size_t first, std::size_t last, Order order) {
    SortItem* const begin = items.data() + first;
    SortItem* const end = items.data() + last;
    if (!std::is_sorted(begin, end, order))
        RadixSort(begin, end, 0, order);
}

// Merges runs of doubling length. A comparison that contradicts itself gives some order and nothing worse.
template <class Before>
void MergeSort(std::vector<int>& rows, const Before& before) {
    std::vector<int> merged(rows.size());
    for (std::size_t width = 1; width < rows.size(); width *= 2) {
        for (std::size_t start = 0; start < rows.size(); start += 2 * width) {
            std::size_t left = start;
            const std::size_t middle = std::min(start + width, rows.size());
            std::size_t right = middle;
            const std::size_t end = std::min(start + 2 * width, rows.size());
            for (std::size_t to = start; to < end; ++to) {
                const bool takeRight = left == middle || (right < end && before(rows[right], rows[left]));
                merged[to] = takeRight ? rows[right++] : rows[left++];
            }
        }
        rows.swap(merged);
    }
}

}  // namespace

// Tells whether one physical row goes before another.
class RowSorter::Comparator {
  public:
    Comparator(const std::vector<SortColumn>& sortColumns, NullIndicator& nulls, int option,
               const int* physicalRows)
        : columns(sortColumns), nullIndicator(nulls), sortOption(option), rowMap(physicalRows) {}

    bool operator()(int a, int b) const {
        if (rowMap) {
            a = rowMap[a];
            b = rowMap[b];
        }
        for (const SortColumn& by : columns) {
            const bool aNull = nullIndicator.IsNull(by.number, a);
            const bool bNull = nullIndicator.IsNull(by.number, b);
            int c;
            if (aNull || bNull)
                c = static_cast<int>(bNull) - static_cast<int>(aNull);
            else
                c = by.column->CompareItems(a, b, sortOption);
            if (c != 0)
                return (c < 0) == by.ascending;
        }
        return false;
    }

  private:
    const std::vector<SortColumn>& columns;
    NullIndicator& nullIndicator;
    int sortOption;
    const int* rowMap;
};

RowSorter::RowSorter(std::vector<SortColumn> sortColumns, NullIndicator* nulls, int option,
                     std::vector<int> rowNumbers)
    : columns(std::move(sortColumns)),
      nullIndicator(nulls),
      sortOption(option),
      physicalRows(std::move(rowNumbers)) {}

RowSorter::~RowSorter() = default;

void RowSorter::Sort(Rows& rows, int rowCount) {
    if (sortOption != 0 && !columns.empty())
        SortByComparison(rows);
    else
        SortByKeys(rows, rowCount);
}

void RowSorter::SortByComparison(Rows& rows) {
    std::vector<int> order(static_cast<std::size_t>(rows.Size()));
    rows.Read(0, order.data(), rows.Size());
    const auto before = std::make_unique<Comparator>(columns, *nullIndicator, sortOption, RowMap());
    MergeSort(order, *before);
    for (std::size_t i = 0; i < order.size(); ++i)
        rows.GetItem(static_cast<int>(i)) = order[i];
}

void RowSorter::SortByKeys(Rows& rows, int rowCount) {
    ListRows(rows, rowCount);
    Mark(0, items.size(), 0, EqualSoFar);
    for (const SortColumn& by : columns) {
        open = KeepOpen(EqualSoFar);
        if (open == 0)
            break;
        SortColumnKeys(by);
    }
    PlaceEqual();
    for (std::size_t i = 0; i < items.size(); ++i)
        rows.GetItem(static_cast<int>(i)) = static_cast<int>(items[i].Row());
}

// One item for each row of the array, in the order of their numbers.
void RowSorter::ListRows(Rows& rows, int rowCount) {
    const int count = rows.Size();
    items.resize(static_cast<std::size_t>(count));
    open = items.size();
    for (int i = 0; i < count; ++i)
        items[static_cast<std::size_t>(i)] = {
            0,
            static_cast<std::uint64_t>(static_cast<std::uint32_t>(count == rowCount ? i : rows.GetItem(i)))};
    SortItems(items, 0, items.size(), ByKeyAndRow());
}

void RowSorter::Mark(std::size_t first, std::size_t last, std::size_t rank, State state) {
    for (std::size_t i = first; i < last; ++i) {
        items[i].high = (static_cast<std::uint64_t>(rank) << 32) | state;
        items[i].low = items[i].Row();
    }
}

// Brings the items of this state to the front, in their order, and returns how many there are.
std::size_t RowSorter::KeepOpen(State state) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if ((items[i].high & LowHalf) == state)
            std::swap(items[kept++], items[i]);
    }
    return kept;
}

bool RowSorter::IsOneGroup() const {
    return std::all_of(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(open),
                       [this](const SortItem& item) { return RankOf(item) == RankOf(items.front()); });
}

void RowSorter::OrderOpenByRow() {
    SortItems(items, 0, open, ByRow());
}

// Settles the open items by one column. Afterwards all are placed or equal in it.
void RowSorter::SortColumnKeys(const SortColumn& by) {
    if (!nullIndicator->IsUnused())
        SplitNulls(by);
    SortKeyPosition position;  // the same for all open items: their keys are equal up to its last cut
    for (bool first = true; open > 0; first = false) {
        if (position.skip >= DeepFrom) {
            SortDeep(by, position);
            return;
        }
        const bool oneGroup = IsOneGroup();
        const std::size_t before = open;
        if (oneGroup && !first) {
            OrderOpenByRow();
            Group group = {0, open, RankOf(items.front()), position};
            if (!SkipCommon(*by.column, group)) {
                Mark(group.first, group.last, group.rank, EqualSoFar);
                return;
            }
            position = group.position;
        }
        SortPart(by, position, oneGroup);
        if (oneGroup && open == before && IsOneGroup()) {
            text.clear();
            by.column->AppendSortKey(PhysicalRow(items.front()), position, PartBytes, text);
        } else {
            position.skip += oneGroup ? PartBytes : RankedPartBytes;
        }
    }
}

// Nulls are equal among themselves, and less than all values.
void RowSorter::SplitNulls(const SortColumn& by) {
    OrderOpenByRow();
    SortKeySink sink(items.data(), open, SortKeyPosition(), true, by.ascending, RowMap());
    bool any = false;
    for (std::size_t i = 0; i < open; ++i) {
        const bool isNull = nullIndicator->IsNull(by.number, sink.Row(i));
        any = any || isNull;
        // No zero byte at the end of the values' part: they stay open.
        sink.Put(i, isNull ? 0 : ~0ULL, 0);
    }
    SortItems(items, 0, open, ByKeyAndRow());
    SplitRuns(0, open, true, 0, by.ascending, 0);
    if (any)
        open = KeepOpen(Open);
}

// Goes by the part of the keys at `position`: 12 bytes when all open items are one group, else 8 behind the
// ranks.
void RowSorter::SortPart(const SortColumn& by, const SortKeyPosition& position, bool oneGroup) {
    OrderOpenByRow();
    const std::size_t base = RankOf(items.front());
    SortKeySink sink(items.data(), open, position, !oneGroup, by.ascending, RowMap());
    by.column->PutSortKeys(sink);
    SortItems(items, 0, open, ByKeyAndRow());
    const std::size_t length = KeyLength(*by.column);
    SplitRuns(0, open, !oneGroup, base, by.ascending, length > position.skip ? length - position.skip : 0);
    open = KeepOpen(Open);
}

// Ranks sorted items by their keys and marks them: placed where a key is alone, equal where the keys of a run
// end with this part, else open. `lengthLeft`: bytes that fixed-size keys have from this part on, 0 for other
// keys.
void RowSorter::SplitRuns(std::size_t first, std::size_t last, bool ranked, std::size_t base, bool ascending,
                          std::size_t lengthLeft) {
    const std::uint64_t mask = ascending ? 0 : 0xFF;
    const std::size_t part = ranked ? RankedPartBytes : PartBytes;
    std::size_t groupFirst = first;
    std::size_t groupRank = ranked && first < last ? RankOf(items[first]) : base;
    for (std::size_t i = first; i < last;) {
        const std::uint64_t high = items[i].high;
        const std::uint64_t low = items[i].low >> 32;
        if (ranked && (high >> 32) != groupRank) {
            groupFirst = i;
            groupRank = static_cast<std::size_t>(high >> 32);
        }
        std::size_t end = i + 1;
        while (end < last && items[end].high == high && (items[end].low >> 32) == low)
            ++end;
        const bool ended = lengthLeft > 0 ? part >= lengthLeft : ((low ^ mask) & 0xFF) == 0;
        const State state = end - i == 1 ? Placed : ended ? EqualSoFar : Open;
        Mark(i, end, groupRank + (i - groupFirst), state);
        i = end;
    }
}

void RowSorter::SortDeep(const SortColumn& by, const SortKeyPosition& position) {
    SortItems(items, 0, open, ByKeyAndRow());
    std::vector<Group> pending;
    for (std::size_t i = 0; i < open;) {
        std::size_t end = i + 1;
        while (end < open && items[end].high == items[i].high)
            ++end;
        pending.push_back({i, end, RankOf(items[i]), position});
        i = end;
        while (!pending.empty()) {
            Group group = pending.back();
            pending.pop_back();
            SortGroup(by, group, pending);
        }
    }
    open = 0;
}

void RowSorter::SortGroup(const SortColumn& by, Group group, std::vector<Group>& pending) {
    if (group.last - group.first <= SmallGroup) {
        SortSmallGroup(by, group);
        return;
    }
    if (!SkipCommon(*by.column, group)) {
        Mark(group.first, group.last, group.rank, EqualSoFar);
        return;
    }
    SortKeySink sink(&items[group.first], group.last - group.first, group.position, false, by.ascending,
                     RowMap());
    by.column->PutSortKeys(sink);
    SortItems(items, group.first, group.last, ByKeyAndRow());
    SplitRuns(group.first, group.last, false, group.rank, by.ascending, 0);
    for (std::size_t i = group.first; i < group.last;) {
        std::size_t end = i + 1;
        while (end < group.last && items[end].high == items[i].high)
            ++end;
        if ((items[i].high & LowHalf) == Open) {
            Group next = {i, end, RankOf(items[i]), group.position};
            text.clear();
            by.column->AppendSortKey(PhysicalRow(items[i]), next.position, PartBytes, text);
            pending.push_back(next);
        }
        i = end;
    }
}

// Moves the group's position over the bytes that all its keys share. False when that is all of them.
bool RowSorter::SkipCommon(ColumnSetStorage& column, Group& group) {
    const int first = PhysicalRow(items[group.first]);
    std::string shared;
    for (std::size_t chunk = FirstChunk;; chunk = std::min(chunk * 2, LastChunk)) {
        shared.clear();
        SortKeyPosition behind = group.position;
        column.AppendSortKey(first, behind, chunk, shared);
        const bool ended = shared.size() < chunk || shared.back() == '\0';
        std::size_t common = shared.size();
        for (std::size_t i = group.first + 1; i < group.last && common > 0; ++i) {
            SortKeyPosition position = group.position;
            text.clear();
            column.AppendSortKey(PhysicalRow(items[i]), position, common, text);
            const auto differs = std::mismatch(text.begin(), text.end(), shared.begin());
            common = static_cast<std::size_t>(differs.first - text.begin());
        }
        if (common < shared.size()) {
            text.clear();
            column.AppendSortKey(first, group.position, common, text);
            return true;
        }
        if (ended)
            return false;
        group.position = behind;
    }
}

void RowSorter::SortSmallGroup(const SortColumn& by, const Group& group) {
    std::vector<std::pair<std::string, std::uint32_t>> keys;
    for (std::size_t i = group.first; i < group.last; ++i) {
        keys.emplace_back(std::string(), items[i].Row());
        SortKeyPosition position = group.position;
        by.column->AppendSortKey(PhysicalRow(items[i]), position, std::string::npos, keys.back().first);
    }
    std::sort(keys.begin(), keys.end(), [&by](const auto& a, const auto& b) {
        const int c = a.first.compare(b.first);
        return c != 0 ? (c < 0) == by.ascending : a.second < b.second;
    });
    for (std::size_t i = 0; i < keys.size();) {
        std::size_t end = i + 1;
        while (end < keys.size() && keys[end].first == keys[i].first)
            ++end;
        for (std::size_t k = i; k < end; ++k)
            items[group.first + k].low = keys[k].second;
        Mark(group.first + i, group.first + end, group.rank + i, end - i == 1 ? Placed : EqualSoFar);
        i = end;
    }
}

// Rows that no column told apart get their places by row; then every item goes to its place.
void RowSorter::PlaceEqual() {
    open = KeepOpen(EqualSoFar);
    SortItems(items, 0, open, ByKeyAndRow());
    for (std::size_t i = 0; i < open;) {
        const std::size_t rank = RankOf(items[i]);
        for (std::size_t place = rank; i < open && RankOf(items[i]) == rank; ++i, ++place)
            items[i].low |= static_cast<std::uint64_t>(place) << 32;
    }
    for (std::size_t i = open; i < items.size(); ++i)
        items[i].low |= static_cast<std::uint64_t>(RankOf(items[i])) << 32;
    for (std::size_t i = 0; i < items.size(); ++i) {
        for (std::size_t place = items[i].low >> 32; place != i; place = items[i].low >> 32)
            std::swap(items[i], items[place]);
    }
}

}  // namespace qxdbsqlengine
