#include "persistence/excel_xml_persistence.h"

#include "persistence/text_escaper.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

constexpr char kTimestampFormat[] = "yyyy-MM-ddTHH:mm:ss.fff";

constexpr std::string_view kFileHeader =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n"
    "<?mso-application progid=\"Excel.Sheet\"?>\n"
    "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
    " xmlns:v=\"urn:schemas-microsoft-com:vml\"\n"
    " xmlns:o=\"urn:schemas-microsoft-com:office:office\"\n"
    " xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\n"
    " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
    " xmlns:html=\"http://www.w3.org/TR/REC-html40\">\n"
    " <Styles>\n"
    "  <Style ss:ID=\"Default\" ss:Name=\"Normal\">\n"
    "   <Alignment ss:Vertical=\"Bottom\" />\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s62\">\n"
    "   <Alignment ss:Horizontal=\"Left\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s63\">\n"
    "   <Alignment ss:Horizontal=\"Right\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s64\">\n"
    "   <NumberFormat ss:Format=\"m/d/yyyy\\ h:mm\\ AM/PM\" />\n"
    "  </Style>\n"
    "  <Style ss:ID=\"s65\">\n"
    "   <Alignment ss:Horizontal=\"Center\" ss:Vertical=\"Center\" />\n"
    "   <Font ss:Bold=\"1\"/>\n"
    "  </Style>\n"
    " </Styles>\n"
    " <Worksheet ss:Name=\"Sheet1\">\n"
    "  <Table>\n";

constexpr std::string_view kTextCell = "    <Cell><Data ss:Type=\"String\">";
constexpr std::string_view kNumberCell = "    <Cell><Data ss:Type=\"Number\">";
constexpr std::string_view kTimestampCell = "    <Cell ss:StyleID=\"s64\"><Data ss:Type=\"DateTime\">";
constexpr std::string_view kCellEnd = "</Data></Cell>\n";

std::string_view HeaderCellStart(int hint) {
    if (hint == 1)
        return "    <Cell ss:StyleID=\"s63\"><Data ss:Type=\"String\">";
    return hint == 2 ? "    <Cell ss:StyleID=\"s65\"><Data ss:Type=\"String\">"
                     : "    <Cell ss:StyleID=\"s62\"><Data ss:Type=\"String\">";
}

}  // namespace

void ExcelXMLPersistence::CellWriter::OnCell(int position, bool isNull, std::string_view text) {
    const Kind kind = kinds[static_cast<std::size_t>(position)];
    const bool isTimestamp = kind == Kind::Timestamp && !isNull;
    owner.AppendDataCell(kind, isNull, isTimestamp ? owner.TimestampText(position) : text);
}

ExcelXMLPersistence::ExcelXMLPersistence(std::atomic<bool>& cancel) : PersistenceImpl(cancel), cells(*this) {}

ExcelXMLPersistence::~ExcelXMLPersistence() = default;

void ExcelXMLPersistence::WriteFileHeader() {
    if (currentResultSet < 1)
        Out().Append(kFileHeader);
}

void ExcelXMLPersistence::WriteResultSetHeader(bool includeLabels) {
    if (currentResultSet > 0)
        Out().Append("   <Row>\n   </Row>\n");
    cells.kinds.clear();
    for (int column : SelectColumns())
        cells.kinds.push_back(KindOf(column));
    ReadTimestamps(kTimestampFormat);
    if (!includeLabels)
        return;
    Out().Append("   <Row>\n");
    for (int column : SelectedColumns())
        WriteHeaderCell(column);
    Out().Append("   </Row>\n");
}

ExcelXMLPersistence::Kind ExcelXMLPersistence::KindOf(int column) const {
    const EnumDataType type = storage->GetDataType(currentResultSet, column);
    if (type == DataTypeTimestamp)
        return Kind::Timestamp;
    return IsNumber(column) ? Kind::Number : Kind::Text;
}

void ExcelXMLPersistence::AppendDataCell(Kind kind, bool isNull, std::string_view text) {
    OutputBuffer& out = Out();
    if (isNull) {
        out.Append(kTextCell, text, kCellEnd);
    } else if (kind == Kind::Number) {
        out.Append(kNumberCell, text, kCellEnd);
    } else if (kind == Kind::Timestamp) {
        out.Append(kTimestampCell, text, kCellEnd);
    } else {
        out.Append(kTextCell);
        TextEscaper::Xml().Append(text, out);
        out.Append(kCellEnd);
    }
}

void ExcelXMLPersistence::WriteHeaderCell(int column) {
    Out().Append(HeaderCellStart(storage->GetAlignHint(currentResultSet, column)));
    TextEscaper::Xml().Append(storage->GetColumnLabel(currentResultSet, column), Out());
    Out().Append("</Data></Cell>\n");
}

void ExcelXMLPersistence::WriteRow(int row) {
    Out().Append("   <Row>\n");
    VisitSelectedColumns(row, cells);
    Out().Append("   </Row>\n");
}

void ExcelXMLPersistence::WriteDataCell(int row, int column) {
    const Kind kind = KindOf(column);
    const bool isNull = storage->IsNull(currentResultSet, row, column);
    const bool isTimestamp = kind == Kind::Timestamp && !isNull;
    AppendDataCell(
        kind, isNull,
        isTimestamp ? PersistenceImpl::TimestampText(row, column, kTimestampFormat) : CellText(row, column));
}

void ExcelXMLPersistence::WriteResultSetFooter() {}

void ExcelXMLPersistence::WriteFileFooter() {
    Out().Append("  </Table>\n </Worksheet>\n</Workbook>\n");
}

}  // namespace qxdbsqlengine
