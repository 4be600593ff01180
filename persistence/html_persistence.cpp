#include "persistence/html_persistence.h"

#include "persistence/text_escaper.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

constexpr std::string_view kPageStart =
    "<!DOCTYPE html PUBLIC \"-//IETF//DTD HTML//EN\">\r\n"
    "<html>\r\n"
    "<head>\r\n"
    "<title>";
constexpr std::string_view kBodyStart =
    "</title></head>\r\n"
    "<body bgcolor=#ffffff><FONT FACE=\"arial\", SIZE=\"2\">\r\n";

constexpr std::string_view kCellEnd = "</td>\r\n";

// `hint` is one of the stated alignments or any other number.
std::string_view HeaderCellStart(int hint) {
    if (hint == 1)
        return "            <th align=\"right\">";
    return hint == 2 ? "            <th align=\"center\">" : "            <th>";
}

std::string_view DataCellStart(int hint) {
    if (hint == 1)
        return "            <td align=\"right\">";
    return hint == 2 ? "            <td align=\"center\">" : "            <td>";
}

}  // namespace

void HTMLPersistence::CellWriter::OnCell(int position, bool, std::string_view text) {
    AppendDataCell(styles[static_cast<std::size_t>(position)], text, out);
}

void HTMLPersistence::AppendDataCell(const Style& style, std::string_view text, OutputBuffer& out) {
    if (style.isNumber) {
        out.Append(style.opening, text, kCellEnd);
        return;
    }
    out.Append(style.opening);
    TextEscaper::Html().Append(text, out);
    out.Append(kCellEnd);
}

HTMLPersistence::HTMLPersistence(std::atomic<bool>& cancel) : PersistenceImpl(cancel), cells(Out()) {}

HTMLPersistence::~HTMLPersistence() = default;

void HTMLPersistence::WriteFileHeader() {
    Out().Append(kPageStart);
    Out().Append(fileName);
    Out().Append(kBodyStart);
}

void HTMLPersistence::WriteResultSetHeader(bool includeLabels) {
    if (resultSetsWritten > 0)
        Out().Append("<br>\r\n");
    Out().Append("    <table width=\"100%\" border=\"1\">");
    cells.styles.clear();
    for (int column : SelectColumns())
        cells.styles.push_back(StyleOf(column));
    if (!includeLabels)
        return;
    Out().Append("        <tr bgcolor=\"#ccccff\">\r\n");
    for (int column : SelectedColumns())
        WriteHeaderCell(column);
    Out().Append("        </tr>\r\n");
}

HTMLPersistence::Style HTMLPersistence::StyleOf(int column) const {
    return {DataCellStart(storage->GetAlignHint(currentResultSet, column)), IsNumber(column)};
}

void HTMLPersistence::WriteHeaderCell(int column) {
    Out().Append(HeaderCellStart(storage->GetAlignHint(currentResultSet, column)));
    TextEscaper::Html().Append(storage->GetColumnLabel(currentResultSet, column), Out());
    Out().Append("</th>\r\n");
}

void HTMLPersistence::WriteRow(int row) {
    Out().Append("        <tr bgcolor=\"lemonchiffon\">\r\n");
    VisitSelectedColumns(row, cells);
    Out().Append("        </tr>\r\n");
}

void HTMLPersistence::WriteDataCell(int row, int column) {
    AppendDataCell(StyleOf(column), CellText(row, column), Out());
}

void HTMLPersistence::WriteResultSetFooter() {
    Out().Append("    </table>\r\n");
}

void HTMLPersistence::WriteFileFooter() {
    Out().Append("</body>\r\n</html>");
}

}  // namespace qxdbsqlengine
