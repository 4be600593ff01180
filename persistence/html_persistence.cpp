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

void AppendDataCell(std::string_view opening, std::string_view text, OutputBuffer& out) {
    out.Append(opening);
    TextEscaper::Html().Append(text, out);
    out.Append("</td>\r\n");
}

}  // namespace

void HTMLPersistence::CellWriter::OnCell(int position, bool, std::string_view text) {
    AppendDataCell(openings[static_cast<std::size_t>(position)], text, out);
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
    cells.openings.clear();
    for (int column : SelectColumns())
        cells.openings.push_back(DataCellStart(storage->GetAlignHint(currentResultSet, column)));
    if (!includeLabels)
        return;
    Out().Append("        <tr bgcolor=\"#ccccff\">\r\n");
    for (int column : SelectedColumns())
        WriteHeaderCell(column);
    Out().Append("        </tr>\r\n");
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
    AppendDataCell(DataCellStart(storage->GetAlignHint(currentResultSet, column)), CellText(row, column),
                   Out());
}

void HTMLPersistence::WriteResultSetFooter() {
    Out().Append("    </table>\r\n");
}

void HTMLPersistence::WriteFileFooter() {
    Out().Append("</body>\r\n</html>");
}

}  // namespace qxdbsqlengine
