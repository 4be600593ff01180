#include "benchmarks/export_floors.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "benchmarks/bench_table.h"

namespace qxbench {

namespace {

constexpr std::size_t Block = 1U << 20U;
constexpr std::size_t LongestRow = 4096;

constexpr const char* Labels[] = {"id", "small", "price", "ratio", "name", "note", "placed", "flag"};

char* Put(char* to, std::string_view text) {
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

template <class Number>
char* PutNumber(char* to, Number number) {
    return std::to_chars(to, to + 32, number).ptr;
}

char* PutCents(char* to, std::int64_t cents) {
    if (cents < 0) {
        *to++ = '-';
        cents = -cents;
    }
    to = PutNumber(to, cents / 100);
    *to++ = '.';
    *to++ = static_cast<char>('0' + cents % 100 / 10);
    *to++ = static_cast<char>('0' + cents % 10);
    return to;
}

// Writes head, one text for each row, and foot.
template <class PutRow>
void WriteFile(const std::string& name, const std::string& head, const std::string& foot, PutRow putRow) {
    const PlainTable& table = Plain();
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    std::vector<char> buffer(Block + LongestRow);
    char* const start = buffer.data();
    char* to = Put(start, head);
    for (int row = 0; row < TableRows; ++row) {
        to = putRow(to, table, row);
        if (to - start > static_cast<std::ptrdiff_t>(Block)) {
            std::fwrite(start, 1, static_cast<std::size_t>(to - start), file);
            to = start;
        }
    }
    to = Put(to, foot);
    std::fwrite(start, 1, static_cast<std::size_t>(to - start), file);
    std::fclose(file);
}

char* PutField(char* to, std::string_view text) {
    bool quotes = !text.empty() && text[0] == '"';
    for (const char c : text)
        quotes |= c == ',' || c == '\n' || c == '\r';
    if (!quotes)
        return Put(to, text);
    *to++ = '"';
    for (const char c : text) {
        if (c == '"')
            *to++ = '"';
        *to++ = c;
    }
    *to++ = '"';
    return to;
}

char* PutHtml(char* to, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
            case '"':
                to = Put(to, "&quot;");
                break;
            case '&':
                to = Put(to, "&amp;");
                break;
            case '<':
                to = Put(to, "&lt;");
                break;
            case '>':
                to = Put(to, "&gt;");
                break;
            case '\t':
                to = Put(to, "&nbsp;&nbsp;&nbsp;&nbsp;");
                break;
            case '\n':
                to = Put(to, "<br>");
                break;
            case ' ':
                if (i + 1 == text.size() || text[i + 1] != ' ') {
                    *to++ = ' ';
                    break;
                }
                for (; i < text.size() && text[i] == ' '; ++i)
                    to = Put(to, "&nbsp;");
                --i;
                break;
            default:
                *to++ = text[i];
        }
    }
    return to;
}

char* PutXml(char* to, std::string_view text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                to = Put(to, "&amp;");
                break;
            case '<':
                to = Put(to, "&lt;");
                break;
            case '>':
                to = Put(to, "&gt;");
                break;
            case '\n':
                to = Put(to, "&#10;");
                break;
            default:
                *to++ = c;
        }
    }
    return to;
}

char* PutQuoted(char* to, std::string_view text) {
    *to++ = '\'';
    for (const char c : text) {
        if (c == '\'')
            *to++ = '\'';
        *to++ = c;
    }
    *to++ = '\'';
    return to;
}

char* PutCommaRow(char* to, const PlainTable& table, int row) {
    to = PutNumber(to, table.id[row]);
    *to++ = ',';
    to = PutNumber(to, table.small[row]);
    *to++ = ',';
    to = PutCents(to, table.cents[row]);
    *to++ = ',';
    to = PutNumber(to, table.ratio[row]);
    *to++ = ',';
    to = PutField(to, table.Name(row));
    *to++ = ',';
    to = PutField(to, table.Note(row));
    *to++ = ',';
    to = AppendTime(to, table.placed[row]);
    *to++ = ',';
    to = PutNumber(to, table.flag[row]);
    return Put(to, "\r\n");
}

constexpr std::string_view RightCell = "            <td align=\"right\">";
constexpr std::string_view LeftCell = "            <td>";
constexpr std::string_view CellEnd = "</td>\r\n";

char* PutHtmlRow(char* to, const PlainTable& table, int row) {
    to = Put(to, "        <tr bgcolor=\"lemonchiffon\">\r\n");
    to = Put(PutNumber(Put(to, RightCell), table.id[row]), CellEnd);
    to = Put(PutNumber(Put(to, RightCell), table.small[row]), CellEnd);
    to = Put(PutCents(Put(to, RightCell), table.cents[row]), CellEnd);
    to = Put(PutNumber(Put(to, RightCell), table.ratio[row]), CellEnd);
    to = Put(PutHtml(Put(to, LeftCell), table.Name(row)), CellEnd);
    to = Put(to, LeftCell);
    to = Put(table.noteIsNull[row] ? Put(to, "[NULL]") : PutHtml(to, table.Note(row)), CellEnd);
    to = Put(AppendTime(Put(to, LeftCell), table.placed[row]), CellEnd);
    to = Put(PutNumber(Put(to, RightCell), table.flag[row]), CellEnd);
    return Put(to, "        </tr>\r\n");
}

constexpr std::string_view NumberData = "    <Cell><Data ss:Type=\"Number\">";
constexpr std::string_view TextData = "    <Cell><Data ss:Type=\"String\">";
constexpr std::string_view TimeData = "    <Cell ss:StyleID=\"s64\"><Data ss:Type=\"DateTime\">";
constexpr std::string_view DataEnd = "</Data></Cell>\n";

char* PutSpreadsheetXmlRow(char* to, const PlainTable& table, int row) {
    to = Put(to, "   <Row>\n");
    to = Put(PutNumber(Put(to, NumberData), table.id[row]), DataEnd);
    to = Put(PutNumber(Put(to, NumberData), table.small[row]), DataEnd);
    to = Put(PutCents(Put(to, NumberData), table.cents[row]), DataEnd);
    to = Put(PutNumber(Put(to, NumberData), table.ratio[row]), DataEnd);
    to = Put(PutXml(Put(to, TextData), table.Name(row)), DataEnd);
    to = Put(to, TextData);
    to = Put(table.noteIsNull[row] ? Put(to, "[NULL]") : PutXml(to, table.Note(row)), DataEnd);
    to = Put(to, TimeData);
    char* const time = to;
    to = AppendTime(to, table.placed[row]);
    time[10] = 'T';
    to = Put(Put(to, ".000"), DataEnd);
    to = Put(PutNumber(Put(to, NumberData), table.flag[row]), DataEnd);
    return Put(to, "   </Row>\n");
}

constexpr std::string_view ColumnEnd = "</column>\n";

char* PutXmlText(char* to, std::string_view text) {
    return Put(Put(Put(to, "><![CDATA["), text), "]]></column>\n");
}

char* PutXmlRow(char* to, const PlainTable& table, int row) {
    to = Put(PutNumber(Put(to, "        <row id=\""), row + 1), "\">\n");
    to = Put(to, "            <column id=\"1\" name=\"id\" type=\"BigInt\">");
    to = Put(PutNumber(to, table.id[row]), ColumnEnd);
    to = Put(to, "            <column id=\"2\" name=\"small\" type=\"Short\">");
    to = Put(PutNumber(to, table.small[row]), ColumnEnd);
    to = Put(to, "            <column id=\"3\" name=\"price\" type=\"Decimal\" precision=\"2\">");
    to = Put(PutCents(to, table.cents[row]), ColumnEnd);
    to = Put(to, "            <column id=\"4\" name=\"ratio\" type=\"Double\" precision=\"15\">");
    to = Put(PutNumber(to, table.ratio[row]), ColumnEnd);
    to = PutXmlText(Put(to, "            <column id=\"5\" name=\"name\""), table.Name(row));
    to = Put(to, "            <column id=\"6\" name=\"note\"");
    to = table.noteIsNull[row] ? Put(to, " null=\"true\" />\n") : PutXmlText(to, table.Note(row));
    to = Put(to,
             "            <column id=\"7\" name=\"placed\" type=\"Timestamp\" format=\"yyyy-MM-dd "
             "HH:mm:ss\">");
    to = Put(AppendTime(to, table.placed[row]), ColumnEnd);
    to = Put(to, "            <column id=\"8\" name=\"flag\" type=\"BigInt\">");
    to = Put(PutNumber(to, table.flag[row]), ColumnEnd);
    return Put(to, "        </row>\n");
}

char* PutInsertRow(char* to, const PlainTable& table, int row) {
    to = Put(to,
             "INSERT INTO bench ( id, small, price, ratio, name, note, placed, flag ) \n        VALUES ( ");
    to = Put(PutNumber(to, table.id[row]), ", ");
    to = Put(PutNumber(to, table.small[row]), ", ");
    to = Put(PutCents(to, table.cents[row]), ", ");
    to = Put(PutNumber(to, table.ratio[row]), ", ");
    to = Put(PutQuoted(to, table.Name(row)), ", ");
    to = Put(table.noteIsNull[row] ? Put(to, "NULL") : PutQuoted(to, table.Note(row)), ", '");
    to = Put(AppendTime(to, table.placed[row]), "', ");
    return Put(PutNumber(to, table.flag[row]), " )\ngo\n");
}

bool IsNumber(int column) {
    return column != 4 && column != 5 && column != 6;
}

}  // namespace

void WriteCommaFloor(const std::string& file) {
    WriteFile(file, "id,small,price,ratio,name,note,placed,flag\r\n", "", PutCommaRow);
}

void WriteHtmlFloor(const std::string& file, const std::string& title) {
    std::string head = "<!DOCTYPE html PUBLIC \"-//IETF//DTD HTML//EN\">\r\n<html>\r\n<head>\r\n<title>" +
                       title +
                       "</title></head>\r\n<body bgcolor=#ffffff><FONT FACE=\"arial\", SIZE=\"2\">\r\n"
                       "    <table width=\"100%\" border=\"1\">        <tr bgcolor=\"#ccccff\">\r\n";
    for (int column = 0; column < TableColumns; ++column)
        head += std::string(IsNumber(column) ? "            <th align=\"right\">" : "            <th>") +
                Labels[column] + "</th>\r\n";
    WriteFile(file, head + "        </tr>\r\n", "    </table>\r\n</body>\r\n</html>", PutHtmlRow);
}

void WriteSpreadsheetXmlFloor(const std::string& file) {
    std::string head =
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
        "  <Table>\n"
        "   <Row>\n";
    for (int column = 0; column < TableColumns; ++column)
        head += std::string("    <Cell ss:StyleID=\"") + (IsNumber(column) ? "s63" : "s62") +
                "\"><Data ss:Type=\"String\">" + Labels[column] + "</Data></Cell>\n";
    WriteFile(file, head + "   </Row>\n", "  </Table>\n </Worksheet>\n</Workbook>\n", PutSpreadsheetXmlRow);
}

void WriteXmlFloor(const std::string& file) {
    WriteFile(file, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n<resultset>\n    <rowset id=\"1\">\n",
              "    </rowset>\n</resultset>\n", PutXmlRow);
}

void WriteInsertFloor(const std::string& file) {
    WriteFile(file, "--\n-- TABLE INSERT STATEMENTS\n--\n", "", PutInsertRow);
}

}  // namespace qxbench
