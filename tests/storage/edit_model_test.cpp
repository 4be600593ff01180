// Random edits of a store with columns of all types, through several handles, against a plain model;
// everything is compared after each step.
//
// For a long run set QXSENG2_EDIT_SECONDS (how long), and QXSENG2_EDIT_SEED to begin elsewhere: a run that
// fails names the seed of its round.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <list>
#include <memory>
#include <random>
#include <set>

#include "storage/container_support.h"
#include "storage/editable_results_storage.h"

namespace qxdbsqlengine {
namespace {

class OpenEditable : public EditableResultsStorage {
  public:
    using EditableResultsStorage::cells;
};

constexpr int LocatorBytes = 20;

// Locator data of a fixed length.
class PlainLocator : public qxdb::LobLocatorImp {
  public:
    explicit PlainLocator(const std::string& newBytes) : bytes(newBytes) {}
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<PlainLocator>(bytes); }
    qxdb::DynBuffer GetLocatorData() const override {
        qxdb::DynBuffer data;
        data.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<unsigned int>(bytes.size()));
        return data;
    }
    void SetLocatorData(const qxdb::DynBuffer& data) override {
        bytes.assign(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
    }
    bool IsValid(bool) const override { return true; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return "t"; }
    void SetAsXMLType() override {}
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    std::string bytes;
};

qxdb::DynBuffer BufferOf(const std::string& bytes) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
    return buffer;
}

// What a cell holds: a number for columns of numbers and timestamps, bytes for the others.
struct Value {
    __int64 number = 0;
    std::string bytes;
    std::string fileName;  // of large objects
    std::string locator = std::string(LocatorBytes, '\0');
};

// The place of a row in the columns. It outlives the row: the next one finds it.
struct Place {
    std::vector<Value> values;
    std::vector<bool> nulls;
};

// A row has a number of its own for good.
struct Row {
    int id;
    int place;
};

struct View {
    std::unique_ptr<DataStorage> handle;
    bool isOwn = false;     // has an order of its own
    std::vector<int> rows;  // then: ids
    std::vector<DataSort> keys;
};

const std::vector<EnumDataType> types = {DataTypeString,   DataTypeInt,   DataTypeDecimal, DataTypeBinary,
                                         DataTypeLob,      DataTypeShort, DataTypeString,  DataTypeTimestamp,
                                         DataTypeDouble,   DataTypeInt64, DataTypeFloat,   DataTypeLong,
                                         DataTypeNamedType};

bool IsNumber(int col) {
    switch (types[static_cast<std::size_t>(col)]) {
        case DataTypeString:
        case DataTypeBinary:
        case DataTypeLob:
        case DataTypeNamedType:
            return false;
        default:
            return true;
    }
}

qxdb::Timestamp StampOf(__int64 number) {
    qxdb::Timestamp stamp;
    if (number != 0) {
        stamp.SetDate(2000 + static_cast<int>(number / 372), 1 + static_cast<int>(number / 31 % 12),
                      1 + static_cast<int>(number % 31));
        stamp.SetTime(1, 2, 3);
    }
    return stamp;
}

// A decimal of some 30 digits for every third number.
qxdb::Decimal DecimalOf(__int64 number) {
    if (number % 3 != 0 || number == 0)
        return qxdb::Decimal(number, 0);
    qxdb::Decimal great(std::string(number < 0 ? "-" : "") + std::to_string(number < 0 ? -number : number) +
                        ".00000000000000000000000000010");
    return great;
}

class EditModel {
  public:
    EditModel(unsigned seed, int mostRows) : random(seed), limit(mostRows) { Begin(); }

    void Step() {
        const unsigned choice = random() % 100;
        if (choice < 14)
            Append();
        else if (choice < 40)
            SetCell();
        else if (choice < 45)
            SetNull();
        else if (choice < 49)
            SetEmpty();
        else if (choice < 59)
            InsertRow();
        else if (choice < 69)
            DeleteRow();
        else if (choice < 73)
            HideRow();
        else if (choice < 80)
            Sort();
        else if (choice < 84)
            FlipSort();
        else if (choice < 87)
            ReSort();
        else if (choice < 91)
            CopyHandle();
        else if (choice < 94)
            DropHandle();
        else if (choice < 97)
            Undo();
        else if (choice < 99 || random() % 20 != 0)
            Track();
        else
            Begin();
    }

    void Compare() {
        CompareCells();
        for (View& view : views) {
            const std::vector<int> ids = RowsOf(view);
            ASSERT_EQ(static_cast<int>(ids.size()), view.handle->GetNumberOfRows(0));
            ASSERT_EQ(!view.keys.empty(), view.handle->IsSorted(0));
            for (std::size_t row = 0; row < ids.size(); ++row)
                ASSERT_NO_FATAL_FAILURE(CompareRow(*view.handle, static_cast<int>(row), PlaceOf(ids[row])));
        }
    }
    // One row of one view, and the memory.
    void CompareSome() {
        CompareCells();
        View& view = AnyView();
        const std::vector<int> ids = RowsOf(view);
        ASSERT_EQ(static_cast<int>(ids.size()), view.handle->GetNumberOfRows(0));
        if (ids.empty())
            return;
        const std::size_t row = Any(ids.size());
        CompareRow(*view.handle, static_cast<int>(row), PlaceOf(ids[row]));
    }

    // Kinds of steps that were taken, for the test that all are.
    std::set<std::string> taken;

  private:
    std::size_t Any(std::size_t count) { return random() % count; }
    View& AnyView() {
        auto view = views.begin();
        std::advance(view, static_cast<std::ptrdiff_t>(Any(views.size())));
        return *view;
    }
    int AnyColumn() { return static_cast<int>(Any(types.size())); }

    void Begin() {
        taken.insert("begin");
        if (!views.empty()) {
            views.front().handle->CleanUp();
        } else {
            container = new OpenEditable;
            views.emplace_back();
            views.front().handle = std::make_unique<DataStorage>(container);
        }
        for (View& view : views) {
            view.isOwn = false;
            view.rows.clear();
            view.keys.clear();
        }
        rows.clear();
        places.clear();
        freePlaces.clear();
        std::vector<ColumnDefinition> columns = Columns(types);
        columns[4].lobLocator =
            std::make_unique<qxdb::LobLocator>(new PlainLocator(std::string(LocatorBytes, 'c')));
        columns[4].useLobLocators = columns[4].useSpecificLobLocatorImpl = true;
        views.front().handle->AddResultSet(columns, ResultSetNormal);
    }

    // Letters alone, whose order is that of their bytes; lengths around those that change the form of a
    // value.
    Value AnyValue(int col) {
        Value value;
        value.number = static_cast<__int64>(random() % 2000) -
                       (types[static_cast<std::size_t>(col)] == DataTypeTimestamp ? 0 : 1000);
        static const int lengths[] = {0, 1, 3, 14, 15, 16, 17, 100, 123, 124, 125, 248, 249, 700};
        const std::size_t length = static_cast<std::size_t>(lengths[Any(std::size(lengths))]);
        for (std::size_t i = 0; i < length; ++i)
            value.bytes += static_cast<char>('a' + (i < 2 || random() % 50 == 0 ? random() % 3 : 0));
        value.fileName = random() % 3 == 0 ? "/files/" + std::string(random() % 30, 'f') : std::string();
        value.locator = std::string(LocatorBytes, static_cast<char>('A' + random() % 26));
        return value;
    }

    int TakePlace() {
        if (freePlaces.empty()) {
            places.push_back({std::vector<Value>(types.size()), std::vector<bool>(types.size())});
            return static_cast<int>(places.size()) - 1;
        }
        const int place = *freePlaces.begin();
        freePlaces.erase(freePlaces.begin());
        return place;
    }

    void AddRow(std::size_t pos) {
        rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(pos), Row{nextId, TakePlace()});
        for (View& view : views) {
            if (view.isOwn)
                view.rows.push_back(nextId);
        }
        ++nextId;
    }

    std::size_t PositionOf(int id) const {
        return static_cast<std::size_t>(
            std::find_if(rows.begin(), rows.end(), [id](const Row& row) { return row.id == id; }) -
            rows.begin());
    }
    Place& PlaceOf(int id) { return places[static_cast<std::size_t>(rows[PositionOf(id)].place)]; }

    std::vector<int> RowsOf(const View& view) const {
        if (view.isOwn)
            return view.rows;
        std::vector<int> ids;
        for (const Row& row : rows)
            ids.push_back(row.id);
        return ids;
    }
    void MakeOwn(View& view) {
        view.rows = RowsOf(view);
        view.isOwn = true;
    }

    static void InsertValue(DataStorage& handle, int col, const Value& value, bool asText) {
        if (asText && IsNumber(col) && types[static_cast<std::size_t>(col)] != DataTypeDecimal &&
            types[static_cast<std::size_t>(col)] != DataTypeTimestamp) {
            handle.InsertString(0, col, std::to_string(value.number));
            return;
        }
        switch (types[static_cast<std::size_t>(col)]) {
            case DataTypeShort:
                return handle.InsertShort(0, col, static_cast<short>(value.number));
            case DataTypeInt:
                return handle.InsertInt(0, col, static_cast<int>(value.number));
            case DataTypeLong:
                return handle.InsertLong(0, col, static_cast<long>(value.number));
            case DataTypeInt64:
                return handle.InsertInt64(0, col, value.number);
            case DataTypeFloat:
                return handle.InsertFloat(0, col, static_cast<float>(value.number));
            case DataTypeDouble:
                return handle.InsertDouble(0, col, static_cast<double>(value.number));
            case DataTypeDecimal:
                return handle.InsertDecimal(0, col, DecimalOf(value.number));
            case DataTypeTimestamp:
                return handle.InsertTimestamp(0, col, StampOf(value.number));
            case DataTypeBinary:
                return handle.InsertBinary(0, col, BufferOf(value.bytes));
            case DataTypeLob:
                return handle.InsertLobData(0, col, value.bytes, BufferOf(value.locator));
            default:
                return handle.InsertString(0, col, value.bytes);
        }
    }

    static void SetValue(DataEdit& edit, int row, int col, const Value& value) {
        switch (types[static_cast<std::size_t>(col)]) {
            case DataTypeShort:
                return edit.SetShort(0, row, col, static_cast<short>(value.number));
            case DataTypeInt:
                return edit.SetInt(0, row, col, static_cast<int>(value.number));
            case DataTypeLong:
                return edit.SetLong(0, row, col, static_cast<long>(value.number));
            case DataTypeInt64:
                return edit.SetInt64(0, row, col, value.number);
            case DataTypeFloat:
                return edit.SetFloat(0, row, col, static_cast<float>(value.number));
            case DataTypeDouble:
                return edit.SetDouble(0, row, col, static_cast<double>(value.number));
            case DataTypeDecimal:
                return edit.SetDecimal(0, row, col, DecimalOf(value.number));
            case DataTypeTimestamp:
                return edit.SetTimestamp(0, row, col, StampOf(value.number));
            case DataTypeBinary:
                return edit.SetBinary(0, row, col, BufferOf(value.bytes));
            case DataTypeLob:
                return edit.SetLobData(0, row, col, value.bytes, BufferOf(value.locator), value.fileName);
            default:
                return edit.SetString(0, row, col, value.bytes);
        }
    }

    void Append() {
        if (static_cast<int>(rows.size()) >= limit)
            return;
        taken.insert(freePlaces.empty() ? "append" : "append to a free place");
        DataStorage& handle = *AnyView().handle;
        AddRow(rows.size());
        Place& place = places[static_cast<std::size_t>(rows.back().place)];
        const bool asText = random() % 2 == 0;
        for (int col = 0; col < static_cast<int>(types.size()); ++col) {
            const std::size_t at = static_cast<std::size_t>(col);
            const unsigned kind = random() % 8;
            place.nulls[at] = kind == 0;
            place.values[at] = Value();
            if (kind == 0) {
                handle.InsertNull(0, col);
            } else if (kind == 1) {
                handle.InsertEmpty(0, col);
            } else {
                place.values[at] = AnyValue(col);
                place.values[at].fileName.clear();
                InsertValue(handle, col, place.values[at], asText);
            }
        }
    }

    // Calls `change(edit, row of the view, column, place)` for a cell, if there is one.
    template <class Change>
    void ChangeCell(const char* kind, Change change) {
        View& view = AnyView();
        const std::vector<int> ids = RowsOf(view);
        if (ids.empty())
            return;
        taken.insert(kind);
        const std::size_t row = Any(ids.size());
        change(view.handle->Edit(), static_cast<int>(row), AnyColumn(), PlaceOf(ids[row]));
    }
    void SetCell() {
        ChangeCell("set", [this](DataEdit& edit, int row, int col, Place& place) {
            Value value = AnyValue(col);
            if (types[static_cast<std::size_t>(col)] == DataTypeLob && random() % 2 == 0) {
                value.locator = place.values[static_cast<std::size_t>(col)].locator;
                edit.SetLobData(0, row, col, value.bytes, value.fileName);
            } else {
                SetValue(edit, row, col, value);
            }
            place.values[static_cast<std::size_t>(col)] = value;
        });
    }
    void SetNull() {
        ChangeCell("null", [](DataEdit& edit, int row, int col, Place& place) {
            edit.SetNull(0, row, col);
            place.values[static_cast<std::size_t>(col)] = Value();
            place.nulls[static_cast<std::size_t>(col)] = true;
        });
    }
    void SetEmpty() {
        ChangeCell("empty", [](DataEdit& edit, int row, int col, Place& place) {
            edit.SetEmpty(0, row, col);
            place.values[static_cast<std::size_t>(col)] = Value();
        });
    }

    void InsertRow() {
        if (static_cast<int>(rows.size()) >= limit)
            return;
        taken.insert(freePlaces.empty() ? "insert" : "insert into a free place");
        View& view = AnyView();
        const std::vector<int> ids = RowsOf(view);
        const std::size_t row = Any(ids.size() + 1);
        const std::size_t pos = row < ids.size() ? PositionOf(ids[row]) : rows.size();
        view.handle->Edit().InsertRow(0, static_cast<int>(row));
        AddRow(pos);
    }

    // Takes a row out of the model and returns where it was.
    std::size_t Forget(int id) {
        const std::size_t pos = PositionOf(id);
        for (Value& value : PlaceOf(id).values)
            value = Value();
        freePlaces.insert(rows[pos].place);
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(pos));
        for (View& view : views)
            view.rows.erase(std::remove(view.rows.begin(), view.rows.end(), id), view.rows.end());
        return pos;
    }
    void DeleteRow() {
        View& view = AnyView();
        const std::vector<int> ids = RowsOf(view);
        if (ids.empty())
            return;
        taken.insert("delete");
        const std::size_t row = Any(ids.size());
        view.handle->Edit().DeleteRow(0, static_cast<int>(row));
        Forget(ids[row]);
    }

    // A row is deleted and inserted again at its place with what it had.
    void Undo() {
        if (rows.empty())
            return;
        DataStorage plain = views.front().handle->ArrivalOrder();  // its rows are the logical ones
        taken.insert("undo");
        const std::size_t pos = Any(rows.size());
        const Place before = PlaceOf(rows[pos].id);
        plain.Edit().DeleteRow(0, static_cast<int>(pos));
        Forget(rows[pos].id);
        plain.Edit().InsertRow(0, static_cast<int>(pos));
        AddRow(pos);
        Place& place = PlaceOf(rows[pos].id);
        place.values = before.values;
        for (int col = 0; col < static_cast<int>(types.size()); ++col) {
            SetValue(plain.Edit(), static_cast<int>(pos), col, before.values[static_cast<std::size_t>(col)]);
            if (before.nulls[static_cast<std::size_t>(col)]) {
                plain.Edit().SetNull(0, static_cast<int>(pos), col);
                place.values[static_cast<std::size_t>(col)] = Value();
                place.nulls[static_cast<std::size_t>(col)] = true;
            }
        }
    }

    void HideRow() {
        View& view = AnyView();
        taken.insert("hide");
        MakeOwn(view);
        const int row = static_cast<int>(Any(view.rows.size() + 1));
        view.handle->HideRow(0, row);
        if (row < static_cast<int>(view.rows.size()))
            view.rows.erase(view.rows.begin() + row);
    }

    int CompareValues(int col, const Value& a, const Value& b) const {
        if (IsNumber(col)) {
            // As the decimals are made: greater numbers are greater.
            return a.number < b.number ? -1 : a.number > b.number ? 1 : 0;
        }
        if (types[static_cast<std::size_t>(col)] == DataTypeLob)
            return 0;
        if (types[static_cast<std::size_t>(col)] == DataTypeBinary && a.bytes.size() != b.bytes.size())
            return a.bytes.size() < b.bytes.size() ? -1 : 1;
        return a.bytes.compare(b.bytes);
    }
    bool Before(const std::vector<DataSort>& keys, int a, int b) {
        const Place& left = PlaceOf(a);
        const Place& right = PlaceOf(b);
        for (const DataSort& key : keys) {
            const std::size_t col = static_cast<std::size_t>(key.column);
            int c = static_cast<int>(right.nulls[col]) - static_cast<int>(left.nulls[col]);
            if (!left.nulls[col] && !right.nulls[col])
                c = CompareValues(key.column, left.values[col], right.values[col]);
            if (c != 0)
                return (c < 0) == key.ascending;
        }
        return PositionOf(a) < PositionOf(b);
    }
    void SortModel(View& view) {
        MakeOwn(view);
        std::sort(view.rows.begin(), view.rows.end(),
                  [this, &view](int a, int b) { return Before(view.keys, a, b); });
    }

    // Rows to follow through a sort, and their ids.
    std::deque<int> SomeRows(const View& view, std::vector<int>& ids) {
        std::deque<int> some;
        const std::vector<int> shown = RowsOf(view);
        for (std::size_t i = 0; i < 3 && !shown.empty(); ++i) {
            const std::size_t row = Any(shown.size());
            some.push_back(static_cast<int>(row));
            ids.push_back(shown[row]);
        }
        return some;
    }
    void ExpectRows(const View& view, const std::vector<int>& ids, const std::deque<int>& some) {
        const std::vector<int> shown = RowsOf(view);
        for (std::size_t i = 0; i < ids.size(); ++i)
            EXPECT_EQ(std::find(shown.begin(), shown.end(), ids[i]) - shown.begin(), some[i]);
    }

    void Sort() {
        View& view = AnyView();
        taken.insert("sort");
        std::vector<DataSort> keys;
        for (std::size_t count = random() % 4; keys.size() < count;)
            keys.emplace_back(AnyColumn(), random() % 2 == 0);
        std::vector<int> ids;
        std::deque<int> some = SomeRows(view, ids);
        view.handle->Sort(0, keys, &some, static_cast<int>(random() % 2));
        view.keys = keys;
        SortModel(view);
        ExpectRows(view, ids, some);
    }
    void FlipSort() {
        View& view = AnyView();
        taken.insert("flip");
        const int col = view.keys.empty() || random() % 2 == 0 ? AnyColumn() : view.keys.front().column;
        std::vector<int> ids;
        std::deque<int> some = SomeRows(view, ids);
        view.handle->FlipSort(0, col, &some, 0);
        const bool wasAscending =
            view.keys.size() == 1 && view.keys[0].column == col && view.keys[0].ascending;
        view.keys = {DataSort(col, !wasAscending)};
        SortModel(view);
        ExpectRows(view, ids, some);
    }
    void ReSort() {
        View& view = AnyView();
        view.handle->ReSort(0);
        if (!view.isOwn)
            return;
        taken.insert("resort");
        SortModel(view);
    }

    void CopyHandle() {
        if (views.size() >= 5)
            return;
        taken.insert("copy");
        const View& source = AnyView();
        View copy;
        copy.handle = std::make_unique<DataStorage>(*source.handle);
        copy.isOwn = source.isOwn;
        copy.rows = source.rows;
        copy.keys = source.keys;
        views.push_back(std::move(copy));
    }
    // Drops a handle or makes it another copy.
    void DropHandle() {
        if (views.size() < 2)
            return;
        taken.insert("drop");
        auto view = views.begin();
        std::advance(view, static_cast<std::ptrdiff_t>(Any(views.size())));
        auto other = view == views.begin() ? std::next(view) : views.begin();
        if (random() % 2 == 0) {
            views.erase(view);
            return;
        }
        *view->handle = *other->handle;
        view->isOwn = other->isOwn;
        view->rows = other->rows;
        view->keys = other->keys;
    }

    void Track() {
        View& from = AnyView();
        View& to = AnyView();
        taken.insert("track");
        std::vector<int> ids;
        std::deque<int> some = SomeRows(from, ids);
        from.handle->TrackRearrangedRows(0, *to.handle, some);
        ExpectRows(to, ids, some);
        // And a search.
        const std::vector<int> shown = RowsOf(to);
        const std::string text = shown.empty() ? "a" : PlaceOf(shown[Any(shown.size())]).values[0].bytes;
        const int start = static_cast<int>(random() % 5);
        int expected = start;
        while (expected < static_cast<int>(shown.size()) &&
               PlaceOf(shown[static_cast<std::size_t>(expected)]).values[0].bytes != text)
            ++expected;
        expected = start > static_cast<int>(shown.size()) ? static_cast<int>(shown.size()) : expected;
        EXPECT_EQ(expected, to.handle->FindString(0, 0, text, start).GetRow());
    }

    std::string TextOf(int col, const Value& value) const {
        switch (types[static_cast<std::size_t>(col)]) {
            case DataTypeDecimal:
                return DecimalOf(value.number).AsString(true, -1);
            case DataTypeTimestamp:
                return StampOf(value.number).AsString();
            case DataTypeBinary: {
                std::string hex;
                qxdb::BufferBase::AppendHex(hex, reinterpret_cast<const unsigned char*>(value.bytes.data()),
                                            value.bytes.size());
                return hex;
            }
            default:
                return IsNumber(col) ? std::to_string(value.number) : value.bytes;
        }
    }

    void CompareRow(DataStorage& handle, int row, const Place& place) {
        ASSERT_EQ(&place - places.data(), handle.GetRowTranslation(0, row));
        for (int col = 0; col < static_cast<int>(types.size()); ++col) {
            const std::size_t at = static_cast<std::size_t>(col);
            const std::string text = TextOf(col, place.values[at]);
            ASSERT_EQ(place.nulls[at], handle.IsNull(0, row, col)) << row << " " << col;
            ASSERT_EQ(place.nulls[at] ? "[NULL]" : text, handle.AsString(0, row, col, std::locale::classic()))
                << row << " " << col;
            if (!IsNumber(col)) {
                ASSERT_EQ(text, handle.GetString(0, row, col)) << row << " " << col;
            }
        }
        ASSERT_EQ(place.values[4].fileName, handle.GetLobFileName(0, row, 4));
        const qxdb::DynBuffer data = handle.GetLob(0, row, 4).GetLobLocator().GetLocatorData();
        ASSERT_EQ(BufferOf(place.values[4].locator), data);
    }

    static int ChainCells(std::size_t length, std::size_t inPlace) {
        return length <= inPlace ? 0 : static_cast<int>((length + 123) / 124);
    }
    static int TableCells(std::size_t count, std::size_t perCell) {
        const std::size_t slotCells = (count + perCell - 1) / perCell;
        return static_cast<int>(slotCells + (slotCells + 31) / 32);
    }
    // The store holds the cells that the values need and no others.
    void CompareCells() {
        int needed = 0;
        for (std::size_t col = 0; col < types.size(); ++col) {
            const bool isLob = types[col] == DataTypeLob;
            if (types[col] == DataTypeDecimal)
                needed += TableCells(places.size(), 10);
            else if (!IsNumber(static_cast<int>(col)))
                needed += (isLob ? 3 : 1) * TableCells(places.size(), 8);
            for (const Place& place : places) {
                const Value& value = place.values[col];
                if (isLob)
                    needed += ChainCells(value.fileName.size(), 15) + ChainCells(value.locator.size(), 15);
                if (types[col] == DataTypeDecimal)
                    needed += DecimalOf(value.number).AppendMagnitudeBytes(nullptr, 0) > 8 ? 1 : 0;
                else if (!IsNumber(static_cast<int>(col)))
                    needed += ChainCells(value.bytes.size(), 15);
            }
        }
        ASSERT_EQ(needed, container->cells.CellsInUse());
        const int pages = (needed + CellAlloc::kCellsPerPage - 1) / CellAlloc::kCellsPerPage;
        ASSERT_LE(container->cells.PagesInUse(), pages + pages / 12 + 2);
    }

    std::mt19937 random;
    const int limit;
    OpenEditable* container = nullptr;  // the handles'
    std::list<View> views;
    std::vector<Row> rows;  // in logical order
    std::vector<Place> places;
    std::set<int> freePlaces;
    int nextId = 0;
};

unsigned Number(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

TEST(EditModelTest, EveryStepAgreesWithTheModel) {
    unsigned seed = Number("QXSENG2_EDIT_SEED", 1);
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(Number("QXSENG2_EDIT_SECONDS", 0));
    std::set<std::string> taken;
    int rounds = 0;
    do {
        EditModel model(seed, 5 + static_cast<int>(seed % 4) * 12);
        for (int step = 0; step < 800; ++step) {
            model.Step();
            model.Compare();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
        taken.insert(model.taken.begin(), model.taken.end());
        ++seed;
        ++rounds;
    } while (rounds < 6 || std::chrono::steady_clock::now() < end);
    EXPECT_EQ(17u, taken.size()) << testing::PrintToString(taken);
    RecordProperty("rounds", rounds);
}

// Enough rows for several directories, chunks and pages; not all of it is compared each time.
TEST(EditModelTest, ManyRows) {
    const unsigned seed = Number("QXSENG2_EDIT_SEED", 77);
    EditModel model(seed, 3000);
    for (int step = 0; step < 4000; ++step) {
        model.Step();
        if (step % 20 == 0)
            model.CompareSome();
        if (step % 1000 == 999)
            model.Compare();
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
    }
}

}  // namespace
}  // namespace qxdbsqlengine
