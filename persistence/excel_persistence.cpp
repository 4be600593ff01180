#include "persistence/excel_persistence.h"

#include "persistence/text_escaper.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

constexpr char kTimestampFormat[] = "MM/dd/yyyy hh:mm:ss a";

constexpr std::string_view kFileHeader =
    "<html xmlns:o=\"urn:schemas-microsoft-com:office:office\"\r\n"
    "xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\r\n"
    "xmlns=\"http://www.w3.org/TR/REC-html40\">\r\n"
    "<head>\r\n"
    "<meta http-equiv=Content-Type content=\"text/html; charset=us-ascii\">\r\n"
    "<meta name=ProgId content=Excel.Sheet>\r\n"
    "<meta name=Generator content=\"Quillhaven Excel Export\">\r\n"
    "<style>\r\n"
    "<!--table\r\n"
    "  br\r\n"
    "    {mso-data-placement:same-cell;}\r\n"
    "  .xl29\r\n"
    "    {mso-style-parent:style0;\r\n"
    "    mso-number-format:\"m\\/d\\/yyyy\\\\ h\\:mm\\:ss\\\\ AM\\/PM\";\r\n"
    "    white-space:normal;}\r\n"
    "  .xl30\r\n"
    "    {mso-style-parent:style0;\r\n"
    "    mso-number-format:\"\\@\";\r\n"
    "    white-space:normal;}\r\n"
    "-->\r\n"
    "</style>\r\n"
    "<!--[if gte mso 9]><xml>\r\n"
    " <x:ExcelWorkbook>\r\n"
    "  <x:ExcelWorksheets>\r\n"
    "   <x:ExcelWorksheet>\r\n"
    "    <x:Name>Sheet1</x:Name>\r\n"
    "    <x:WorksheetOptions>\r\n"
    "     <x:Selected/>\r\n"
    "    </x:WorksheetOptions>\r\n"
    "   </x:ExcelWorksheet>\r\n"
    "  </x:ExcelWorksheets>\r\n"
    " </x:ExcelWorkbook>\r\n"
    "</xml><![endif]-->\r\n"
    "</head>\r\n"
    "<body>\r\n";

constexpr std::string_view kCellEnd = "</td>\r\n";

std::string_view HeaderCellStart(int hint) {
    if (hint == 1)
        return "            <th align=\"right\">";
    return hint == 2 ? "            <th align=\"center\">" : "            <th>";
}

std::string_view AlignedCellStart(int hint) {
    if (hint == 1)
        return "            <td align=\"right\">";
    return hint == 2 ? "            <td align=\"center\">" : "            <td>";
}

}  // namespace

void ExcelPersistence::CellWriter::OnCell(int position, bool isNull, std::string_view text) {
    const Style& style = styles[static_cast<std::size_t>(position)];
    const bool isTimestamp = style.kind == Kind::Timestamp && !isNull;
    owner.AppendDataCell(style, isNull, isTimestamp ? owner.TimestampText(position) : text);
}

ExcelPersistence::ExcelPersistence(std::atomic<bool>& cancel) : PersistenceImpl(cancel), cells(*this) {}

ExcelPersistence::~ExcelPersistence() = default;

void ExcelPersistence::WriteFileHeader() {
    if (resultSetsWritten == 0)
        Out().Append(kFileHeader);
}

void ExcelPersistence::WriteResultSetHeader(bool includeLabels) {
    if (resultSetsWritten > 0)
        Out().Append("<br>\r\n");
    Out().Append("    <table>\r\n");
    cells.styles.clear();
    for (int column : SelectColumns())
        cells.styles.push_back(StyleOf(column));
    ReadTimestamps(kTimestampFormat);
    if (!includeLabels)
        return;
    Out().Append("        <tr>\r\n");
    for (int column : SelectedColumns())
        WriteHeaderCell(column);
    Out().Append("        </tr>\r\n");
}

ExcelPersistence::Style ExcelPersistence::StyleOf(int column) const {
    const std::string_view aligned = AlignedCellStart(storage->GetAlignHint(currentResultSet, column));
    const EnumDataType type = storage->GetDataType(currentResultSet, column);
    if (type == DataTypeTimestamp)
        return {Kind::Timestamp, "            <td class=x129>", aligned};
    if (type == DataTypeString)
        return {Kind::Text, "            <td class=xl30>", aligned};
    return {Kind::Plain, aligned, aligned};
}

void ExcelPersistence::AppendDataCell(const Style& style, bool isNull, std::string_view text) {
    OutputBuffer& out = Out();
    if (style.kind != Kind::Text || isNull) {
        out.Append(isNull ? style.nullOpening : style.opening, text, kCellEnd);
        return;
    }
    out.Append(style.opening);
    TextEscaper::Excel().Append(text, out);
    out.Append(kCellEnd);
}

void ExcelPersistence::WriteHeaderCell(int column) {
    Out().Append(HeaderCellStart(storage->GetAlignHint(currentResultSet, column)));
    TextEscaper::Excel().Append(storage->GetColumnLabel(currentResultSet, column), Out());
    Out().Append("</th>\r\n");
}

void ExcelPersistence::WriteRow(int row) {
    Out().Append("        <tr>\r\n");
    VisitSelectedColumns(row, cells);
    Out().Append("        </tr>\r\n");
}

void ExcelPersistence::WriteDataCell(int row, int column) {
    const Style style = StyleOf(column);
    const bool isNull = storage->IsNull(currentResultSet, row, column);
    const bool isTimestamp = style.kind == Kind::Timestamp && !isNull;
    AppendDataCell(
        style, isNull,
        isTimestamp ? PersistenceImpl::TimestampText(row, column, kTimestampFormat) : CellText(row, column));
}

void ExcelPersistence::WriteResultSetFooter() {
    Out().Append("    </table>\r\n");
}

void ExcelPersistence::WriteFileFooter() {
    Out().Append("</body>\r\n</html>");
}

}  // namespace qxdbsqlengine
