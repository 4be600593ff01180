#include "tools/qxsql/export_view.h"

#include <stdexcept>
#include <utility>

namespace qxsql {

using namespace qxdbsqlengine;

namespace {

[[noreturn]] void Refuse() {
    throw std::logic_error("An export does not change what it writes");
}

bool IsLiteral(ValueForm form) {
    return form == ValueForm::HexLiteral || form == ValueForm::ByteaLiteral ||
           form == ValueForm::ZeroXLiteral;
}

void AppendDivided(std::string_view text, std::string& to) {
    for (;;) {
        const std::string_view::size_type end = text.find("]]>");
        if (end == std::string_view::npos)
            break;
        to.append(text.substr(0, end)).append("]]]]><![CDATA[>");
        text.remove_prefix(end + 3);
    }
    to.append(text);
}

void AppendEscaped(std::string_view text, std::string& to) {
    for (const char c : text) {
        to += c;
        if (c == '\\')
            to += c;
    }
}

// True when the text had some.
bool ReplaceControls(std::string& text) {
    bool any = false;
    for (char& c : text) {
        if (static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r')
            continue;
        c = '?';
        any = true;
    }
    return any;
}

}  // namespace

// Passes a row on with its values in their forms.
class ExportView::Former final : public CellSink {
  public:
    Former(const Chosen& from, const int* positions, bool* lost, CellSink& next)
        : set(from), columns(positions), lostCharacters(lost), sink(next) {}

    void OnCell(int position, bool isNull, std::string_view value) override {
        const ValueForm form = set.forms[static_cast<std::size_t>(columns[position])];
        if (isNull || form == ValueForm::AsItIs)
            return sink.OnCell(position, isNull, value);
        text.clear();
        if (form == ValueForm::HexLiteral)
            text.append("X'").append(value).append("'");
        else if (form == ValueForm::ByteaLiteral)
            text.append("'\\x").append(value).append("'");
        else if (form == ValueForm::ZeroXLiteral)
            text.append(value.empty() ? "''" : "0x").append(value);
        else if (form == ValueForm::BackslashEscape)
            AppendEscaped(value, text);
        else
            AppendXml(form, value);
        sink.OnCell(position, false, text);
    }

  private:
    void AppendXml(ValueForm form, std::string_view value) {
        if (form == ValueForm::CdataText)
            AppendDivided(value, text);
        else
            text.append(value);
        if (ReplaceControls(text) && lostCharacters != nullptr)
            *lostCharacters = true;
    }

    const Chosen& set;
    const int* const columns;
    bool* const lostCharacters;
    CellSink& sink;
    std::string text;
};

DataStorage ExportView::Of(const DataStorage& results, ExportChoice chosen) {
    std::unique_ptr<ExportView> view(new ExportView(results, std::move(chosen)));
    return DataStorage(view.release());
}

ExportView::ExportView(const DataStorage& results, ExportChoice chosen)
    : source(results), choice(std::move(chosen)) {
    for (const int number : choice.resultSets) {
        Chosen set{number, {}, {}, false};
        const int count = source.GetNumberOfColumns(number);
        if (choice.columns.empty()) {
            for (int column = 0; column < count; ++column)
                set.columns.push_back(column);
        }
        for (const int column : choice.columns) {
            if (column >= 0 && column < count)
                set.columns.push_back(column);
        }
        for (const int column : set.columns) {
            set.forms.push_back(choice.form ? choice.form(source, number, column) : ValueForm::AsItIs);
            set.formed = set.formed || set.forms.back() != ValueForm::AsItIs;
        }
        sets.push_back(std::move(set));
    }
}

int ExportView::Row(const View& view, int rs, int row) const {
    if (!view.chosenRows || choice.allRows)
        return row;
    return choice.rows.at(static_cast<std::size_t>(rs)).at(static_cast<std::size_t>(row));
}

template <class Value>
Value ExportView::Read(Value (DataStorage::*reader)(int, int, int), int index, int rs, int row, int col) {
    View& view = At(index);
    return (view.store.*reader)(Number(rs), Row(view, rs, row), Column(rs, col));
}

int ExportView::GetNumberOfResultSets() {
    return static_cast<int>(sets.size());
}

int ExportView::GetNumberOfRows(int index, int rs) {
    View& view = At(index);
    if (view.chosenRows && !choice.allRows)
        return static_cast<int>(choice.rows.at(static_cast<std::size_t>(rs)).size());
    return view.store.GetNumberOfRows(Number(rs));
}

int ExportView::GetNumberOfColumns(int rs) {
    return static_cast<int>(Set(rs).columns.size());
}

ResultSetType ExportView::GetResultSetType(int rs) {
    return source.GetResultSetType(Number(rs));
}

// A literal that is written out goes the way of numbers, which formats write as they are.
EnumDataType ExportView::GetDataType(int rs, int col) {
    const Chosen& set = Set(rs);
    const int column = Column(rs, col);
    return IsLiteral(set.forms[static_cast<std::size_t>(col)]) ? DataTypeInt
                                                               : source.GetDataType(set.number, column);
}

int ExportView::GetPrecision(int rs, int col) {
    return source.GetPrecision(Number(rs), Column(rs, col));
}

int ExportView::GetNativeDataType(int rs, int col) {
    return choice.hideNativeTypes ? -1 : source.GetNativeDataType(Number(rs), Column(rs, col));
}

std::string ExportView::GetNativeDataTypeName(int rs, int col) {
    return choice.hideNativeTypes ? "" : source.GetNativeDataTypeName(Number(rs), Column(rs, col));
}

std::string ExportView::GetColumnLabel(int rs, int col) {
    const std::string label = source.GetColumnLabel(Number(rs), Column(rs, col));
    return choice.label ? choice.label(label) : label;
}

int ExportView::FindColumnLabel(int rs, const std::string& label) {
    const int found = source.FindColumnLabel(Number(rs), label);
    const std::vector<int>& columns = Set(rs).columns;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] == found)
            return static_cast<int>(i);
    }
    return -1;
}

AlignHint ExportView::GetAlignHint(int rs, int col) {
    return source.GetAlignHint(Number(rs), Column(rs, col));
}

std::string ExportView::GetString(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetString, index, rs, row, col);
}

short ExportView::GetShort(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetShort, index, rs, row, col);
}

int ExportView::GetInt(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetInt, index, rs, row, col);
}

long ExportView::GetLong(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetLong, index, rs, row, col);
}

__int64 ExportView::GetInt64(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetInt64, index, rs, row, col);
}

float ExportView::GetFloat(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetFloat, index, rs, row, col);
}

double ExportView::GetDouble(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetDouble, index, rs, row, col);
}

qxdb::Decimal ExportView::GetDecimal(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetDecimal, index, rs, row, col);
}

qxdb::DynBuffer ExportView::GetBinary(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetBinary, index, rs, row, col);
}

qxdb::Timestamp ExportView::GetTimestamp(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetTimestamp, index, rs, row, col);
}

const char* ExportView::GetDataTimeFormat(int, int rs, int col) {
    return source.GetDataTimeFormat(Number(rs), Column(rs, col));
}

bool ExportView::IsNull(int index, int rs, int row, int col) {
    return Read(&DataStorage::IsNull, index, rs, row, col);
}

std::string ExportView::AsString(int index, int rs, int row, int col, const std::locale& locale) {
    View& view = At(index);
    return view.store.AsString(Number(rs), Row(view, rs, row), Column(rs, col), locale);
}

std::string ExportView::GetLobFileName(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetLobFileName, index, rs, row, col);
}

int ExportView::CompareItems(int index, int rs, int col, int row1, int row2) {
    View& view = At(index);
    return view.store.CompareItems(Number(rs), Column(rs, col), Row(view, rs, row1), Row(view, rs, row2));
}

bool ExportView::IsSorted(int index, int rs) {
    return At(index).store.IsSorted(Number(rs));
}

int ExportView::GetLargestColumnSize(int rs, int col, std::locale& locale,
                                     LargestColumnItemCallback& callback) {
    return source.GetLargestColumnSize(Number(rs), Column(rs, col), locale, callback);
}

LobExtract ExportView::GetLob(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetLob, index, rs, row, col);
}

bool ExportView::GetUseLobLocators(int rs, int col) {
    return source.GetUseLobLocators(Number(rs), Column(rs, col));
}

NamedTypeExtract ExportView::GetNamedType(int index, int rs, int row, int col) {
    return Read(&DataStorage::GetNamedType, index, rs, row, col);
}

int ExportView::FindString(int index, int rs, int col, const std::string& text, int startRow) {
    const int count = GetNumberOfRows(index, rs);
    for (int row = startRow; row < count; ++row) {
        if (GetString(index, rs, row, col) == text)
            return row;
    }
    return count;
}

// The first view is the export's own. Later ones show all rows in the order in which they arrived, as they do
// of a store.
int ExportView::CreateNewIndex() {
    auto view = views.empty() ? std::make_unique<View>(View{source, true})
                              : std::make_unique<View>(View{source.ArrivalOrder(), false});
    return Open(std::move(view));
}

int ExportView::CreateNewIndexAsCopyOfIndex(int index) {
    return Open(std::make_unique<View>(At(index)));
}

int ExportView::Open(std::unique_ptr<View> view) {
    views.push_back(std::move(view));
    const int index = DataContainer::CreateNewIndex();
    return index;
}

bool ExportView::DestroyIndex(int index) {
    views.at(static_cast<std::size_t>(index)).reset();
    return DataContainer::DestroyIndex(index);
}

std::string ExportView::GetTagName(int rs) {
    return source.GetTagName(Number(rs));
}

std::string ExportView::GetTableName(int rs) {
    return source.GetTableName(Number(rs));
}

void ExportView::LockAll() {
    source.LockAll();
}

void ExportView::WriteLockAll() {
    source.WriteLockAll();
}

void ExportView::UnlockAll() {
    source.UnlockAll();
}

int ExportView::GetRowTranslation(int index, int rs, int row) {
    View& view = At(index);
    return view.store.GetRowTranslation(Number(rs), Row(view, rs, row));
}

bool ExportView::VisitRow(int index, int rs, int row, const int* columns, int count, const CellFormat& format,
                          CellSink& sink) {
    View& view = At(index);
    const Chosen& set = Set(rs);
    numbers.resize(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = set.columns.at(static_cast<std::size_t>(columns[i]));
    const int place = Row(view, rs, row);
    if (!set.formed)
        return view.store.VisitRow(set.number, place, numbers.data(), count, format, sink);
    Former former(set, columns, choice.lostCharacters, sink);
    return view.store.VisitRow(set.number, place, numbers.data(), count, format, former);
}

bool ExportView::BeginReads() {
    return source.BeginReads();
}

void ExportView::EndReads() {
    source.EndReads();
}

RowLock ExportView::GetRowLock(int rs) {
    return source.GetRowLock(Number(rs));
}

void ExportView::SetPrecision(int, int, int) {
    Refuse();
}
void ExportView::SetNativeDataType(int, int, int) {
    Refuse();
}
void ExportView::SetNativeDataTypeName(int, int, const std::string&) {
    Refuse();
}
int ExportView::AddResultSet(const std::vector<ColumnDefinition>&, ResultSetType) {
    Refuse();
}
void ExportView::InsertString(int, int, const std::string&) {
    Refuse();
}
void ExportView::InsertShort(int, int, const short&) {
    Refuse();
}
void ExportView::InsertInt(int, int, const int&) {
    Refuse();
}
void ExportView::InsertLong(int, int, const long&) {
    Refuse();
}
void ExportView::InsertInt64(int, int, const __int64&) {
    Refuse();
}
void ExportView::InsertFloat(int, int, const float&) {
    Refuse();
}
void ExportView::InsertDouble(int, int, const double&) {
    Refuse();
}
void ExportView::InsertDecimal(int, int, const qxdb::Decimal&) {
    Refuse();
}
void ExportView::InsertBinary(int, int, const qxdb::DynBuffer&) {
    Refuse();
}
void ExportView::InsertTimestamp(int, int, const qxdb::Timestamp&) {
    Refuse();
}
void ExportView::InsertLobData(int, int, const std::string&, const qxdb::DynBuffer&) {
    Refuse();
}
void ExportView::InsertEmpty(int, int) {
    Refuse();
}
void ExportView::InsertNull(int, int) {
    Refuse();
}
void ExportView::HideRow(int, int, int) {
    Refuse();
}
void ExportView::Sort(int, int, const std::vector<DataSort>&, std::deque<int>*, int) {
    Refuse();
}
void ExportView::ReSort(int, int) {
    Refuse();
}
void ExportView::FlipSort(int, int, int, std::deque<int>*, int) {
    Refuse();
}
void ExportView::TrackRearrangedRows(int, int, int, std::deque<int>&) {
    Refuse();
}
void ExportView::SetTagName(int, std::string) {
    Refuse();
}
void ExportView::SetTableName(int, std::string) {
    Refuse();
}
void ExportView::DeleteColumn(int, int, int) {
    Refuse();
}
void ExportView::DeleteRow(int, int, int) {
    Refuse();
}

}  // namespace qxsql
