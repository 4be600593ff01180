#include "persistence/xml_persistence.h"

#include <charconv>

#include "persistence/column_name.h"
#include "persistence/xml_reader.h"
#include "persistence/xml_words.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

void AppendNumber(int number, OutputBuffer& out) {
    constexpr std::size_t most = 16;
    char* const to = out.Reserve(most);
    out.Commit(static_cast<std::size_t>(std::to_chars(to, to + most, number).ptr - to));
}

void AppendAttribute(std::string_view name, std::string_view value, std::string& out) {
    out.append(" ").append(name).append("=\"").append(value).append("\"");
}

void AppendCell(std::string_view opening, bool isTyped, bool isNull, std::string_view text,
                OutputBuffer& out) {
    if (isNull)
        out.Append(opening, " null=\"true\" />\n", {});
    else if (isTyped)
        out.Append(opening, text, "</column>\n");
    else
        out.Append(opening, text, "]]></column>\n");
}

}  // namespace

// The bytes of the input, which reports its failures itself.
class XMLPersistence::InputSource : public ByteSource {
  public:
    explicit InputSource(XMLPersistence& persistence) : owner(persistence) {}
    std::size_t Read(char* to, std::size_t count) override { return owner.ReadInput(to, count); }
    bool HasFailed() const override { return owner.PersistenceImpl::HasFailed(); }

  private:
    XMLPersistence& owner;
};

void XMLPersistence::CellWriter::OnCell(int position, bool isNull, std::string_view text) {
    const Style& style = styles[static_cast<std::size_t>(position)];
    AppendCell(isNull ? style.opening : style.valueOpening, style.isTyped, isNull, text, out);
}

XMLPersistence::XMLPersistence(std::atomic<bool>& cancel) : PersistenceImpl(cancel), cells(Out()) {}

XMLPersistence::~XMLPersistence() = default;

bool XMLPersistence::ReadAllResultSets() {
    if (!BeginOperation() || !OpenInput())
        return false;
    InputSource source(*this);
    CXMLReader reader(storage, callback, cancelled);
    try {
        const bool read = reader.ParseFile(source, fileName);
        CloseInput();
        return read;
    } catch (...) {
        CloseInput();
        throw;
    }
}

void XMLPersistence::WriteFileHeader() {
    if (resultSetsWritten == 0)
        Out().Append(
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n"
            "<resultset>\n");
}

void XMLPersistence::WriteResultSetHeader(bool) {
    columnNames.clear();
    cells.styles.clear();
    for (int column : SelectColumns())
        AddColumnName(column);
    for (int column : SelectedColumns())
        cells.styles.push_back(StyleOf(column));
    Out().Append("    <rowset id=\"");
    AppendNumber(currentResultSet + 1, Out());
    Out().Append("\">\n");
}

void XMLPersistence::AddColumnName(int column) {
    columnNames.push_back(ColumnNameOf(storage->GetColumnLabel(currentResultSet, column)));
}

XMLPersistence::Style XMLPersistence::StyleOf(int column) {
    const std::size_t number = static_cast<std::size_t>(column);
    if (number >= columnNames.size())
        columnNames.resize(number + 1);
    const EnumDataType type = storage->GetDataType(currentResultSet, column);
    const std::string_view word = xml::TypeWord(type);
    std::string opening = "            <column";
    AppendAttribute(xml::kId, std::to_string(column + 1), opening);
    AppendAttribute(xml::kName, columnNames[number], opening);
    if (!word.empty())
        AppendAttribute(xml::kType, word, opening);
    const char* const format =
        type == DataTypeTimestamp ? storage->GetDataTimeFormat(currentResultSet, column) : nullptr;
    if (format != nullptr)
        AppendAttribute(xml::kFormat, format, opening);
    const int precision = storage->GetPrecision(currentResultSet, column);
    if (precision > 0)
        AppendAttribute(xml::kPrecision, std::to_string(precision), opening);
    return {opening, opening + (word.empty() ? "><![CDATA[" : ">"), !word.empty()};
}

void XMLPersistence::WriteRow(int row) {
    Out().Append("        <row id=\"");
    AppendNumber(row + 1, Out());
    Out().Append("\">\n");
    VisitSelectedColumns(row, cells);
    Out().Append("        </row>\n");
}

void XMLPersistence::WriteCell(int row, int column) {
    const Style style = StyleOf(column);
    const bool isNull = storage->IsNull(currentResultSet, row, column);
    AppendCell(isNull ? style.opening : style.valueOpening, style.isTyped, isNull, CellText(row, column),
               Out());
}

void XMLPersistence::WriteResultSetFooter() {
    Out().Append("    </rowset>\n");
}

void XMLPersistence::WriteFileFooter() {
    Out().Append("</resultset>\n");
}

}  // namespace qxdbsqlengine
