#include "persistence/insert_statements_persistence.h"

#include <cstring>

#include "persistence/column_name.h"
#include "platform/qxutils/string_utils.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

constexpr char kOracleFormat[] = "MM-dd-yyyy HH:mm:ss";
constexpr std::string_view kNull = "NULL";

// Native types: the row id of Oracle, the large objects of DB2.
constexpr int kOracleRowId = 11;
constexpr int kDb2DoubleByteClob = -350;
constexpr int kDb2Blob = -98;
constexpr int kDb2Graphic = -97;

bool IsSybaseOrSqlServer(qxdb::DBTYPE type) {
    return type == qxdb::DBTYPE_SYBASE || type == qxdb::DBTYPE_SQLSERVER;
}

bool IsDb2(qxdb::DBTYPE type) {
    return type == qxdb::DBTYPE_DB2 || type == qxdb::DBTYPE_DB2OS390;
}

// Appends the text with each single quote doubled.
void AppendDoublingQuotes(std::string_view text, OutputBuffer& out) {
    while (!text.empty()) {
        const void* const quote = std::memchr(text.data(), '\'', text.size());
        if (quote == nullptr) {
            out.Append(text);
            return;
        }
        const std::size_t upTo = static_cast<std::size_t>(static_cast<const char*>(quote) - text.data()) + 1;
        out.Append(text.substr(0, upTo));
        out.Append('\'');
        text.remove_prefix(upTo);
    }
}

}  // namespace

void InsertStatementsPersistence::ValueWriter::OnCell(int position, bool isNull, std::string_view text) {
    OutputBuffer& out = owner.Out();
    const Style& style = styles[static_cast<std::size_t>(position)];
    const std::string_view separator(", ", position == 0 ? 0 : 2);
    if (isNull || (text.empty() && style.opening.empty())) {
        out.Append(separator, kNull, {});
        return;
    }
    if (style.kind == Kind::OracleTime)
        text = owner.TimestampText(position);
    if (style.kind == Kind::Quoted && text.find('\'') != std::string_view::npos) {
        out.Append(separator, style.opening, {});
        AppendDoublingQuotes(text, out);
        out.Append(style.closing);
    } else if (style.opening.empty()) {
        out.Append(separator, text, style.closing);
    } else {
        const std::string& before = openings[static_cast<std::size_t>(position)];
        out.Append(before, text, style.closing);
    }
}

void InsertStatementsPersistence::ValueWriter::AddStyle(const Style& style) {
    openings.push_back(styles.empty() ? "" : ", ");
    openings.back() += style.opening;
    styles.push_back(style);
}

void InsertStatementsPersistence::ValueWriter::Clear() {
    styles.clear();
    openings.clear();
}

InsertStatementsPersistence::InsertStatementsPersistence(std::atomic<bool>& cancel)
    : PersistenceImpl(cancel), values(*this) {}

InsertStatementsPersistence::~InsertStatementsPersistence() = default;

void InsertStatementsPersistence::SetQuotedColumnList(const std::vector<std::string>& names) {
    quotedColumnList = names;
}

std::vector<std::string> InsertStatementsPersistence::GetQuotedColumnList() const {
    return quotedColumnList;
}

bool InsertStatementsPersistence::WriteResultSetBody(int resultSet, bool wholeFile) {
    if (storage->GetTableName(resultSet).empty())
        return true;
    return PersistenceImpl::WriteResultSetBody(resultSet, wholeFile);
}

void InsertStatementsPersistence::WriteFileHeader() {}

void InsertStatementsPersistence::WriteResultSetHeader(bool) {
    Out().Append(
        "--\n"
        "-- TABLE INSERT STATEMENTS\n"
        "--\n");
    includedColumns.clear();
    columnOrder.clear();
    values.Clear();
    prefix = "INSERT INTO " + storage->GetTableName(currentResultSet) + " ( ";
    bool first = true;
    for (int column : SelectColumns())
        AddColumn(column, first);
    if (columnOrder.empty())
        prefix.clear();
    else
        prefix += " ) \n        VALUES ( ";
    terminator = Terminator();
    RestrictColumns(columnOrder);
    if (dbmsType == qxdb::DBTYPE_ORACLE)
        ReadTimestamps(kOracleFormat);
}

void InsertStatementsPersistence::AddColumn(int column, bool& first) {
    if (IsColumnExcluded(column) || includedColumns.count(column) != 0)
        return;
    const std::string label = ColumnNameOf(storage->GetColumnLabel(currentResultSet, column));
    if (label.empty())
        return;
    const std::size_t number = static_cast<std::size_t>(column);
    const std::string& name = number < quotedColumnList.size() ? quotedColumnList[number] : label;
    if (!first)
        prefix += ", ";
    first = false;
    prefix += name;
    includedColumns[column] = name;
    columnOrder.push_back(column);
    values.AddStyle(StyleOf(column));
}

bool InsertStatementsPersistence::IsColumnExcluded(int column) {
    if (IsSybaseOrSqlServer(dbmsType))
        return qxutils::StringUtils::StringICmp(storage->GetNativeDataTypeName(currentResultSet, column),
                                                "timestamp") == 0;
    return dbmsType == qxdb::DBTYPE_ORACLE &&
           storage->GetNativeDataType(currentResultSet, column) == kOracleRowId;
}

InsertStatementsPersistence::Style InsertStatementsPersistence::StyleOf(int column) const {
    const EnumDataType type = storage->GetDataType(currentResultSet, column);
    if (IsNumber(column))
        return {Kind::Plain, "", ""};
    if (type == DataTypeBinary)
        return {Kind::Plain, "0x", ""};
    if (type == DataTypeTimestamp)
        return TimestampStyle();
    return type == DataTypeLob ? LobStyle(column) : Style{Kind::Quoted, "'", "'"};
}

InsertStatementsPersistence::Style InsertStatementsPersistence::TimestampStyle() const {
    if (dbmsType == qxdb::DBTYPE_ORACLE)
        return {Kind::OracleTime, "TO_DATE( '", "', 'MM-DD-YYYY HH24:MI:SS' )"};
    return {Kind::Plain, "'", "'"};
}

InsertStatementsPersistence::Style InsertStatementsPersistence::LobStyle(int column) const {
    if (IsSybaseOrSqlServer(dbmsType) &&
        qxutils::StringUtils::StringICmp(storage->GetNativeDataTypeName(currentResultSet, column), "image") ==
            0)
        return {Kind::Plain, "0x", ""};
    const int native = IsDb2(dbmsType) ? storage->GetNativeDataType(currentResultSet, column) : 0;
    switch (native) {
        case kDb2DoubleByteClob:
            return {Kind::Quoted, "DBCLOB(G'", "')"};
        case kDb2Blob:
            return {Kind::Quoted, "BLOB('", "')"};
        case kDb2Graphic:
            return {Kind::Quoted, "GRAPHIC(G'", "')"};
    }
    return {Kind::Quoted, "'", "'"};
}

std::string_view InsertStatementsPersistence::Terminator() const {
    switch (dbmsType) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
        case qxdb::DBTYPE_MYSQL:
            return "go\n";
        case qxdb::DBTYPE_DB2:
        case qxdb::DBTYPE_DB2OS390:
            return ";\n";
        case qxdb::DBTYPE_ORACLE:
            return "/\n";
        default:
            return "";
    }
}

void InsertStatementsPersistence::WriteRow(int row) {
    if (prefix.empty())
        return;
    Out().Append(prefix);
    VisitSelectedColumns(row, values);
    Out().Append(" )\n");
    Out().Append(terminator);
}

void InsertStatementsPersistence::WriteResultSetFooter() {}

std::string InsertStatementsPersistence::Format(int row, int column, const Style& style) const {
    if (storage->IsNull(currentResultSet, row, column))
        return std::string(kNull);
    const std::string text = style.kind == Kind::OracleTime
                                 ? PersistenceImpl::TimestampText(row, column, kOracleFormat)
                                 : CellText(row, column);
    OutputBuffer out(text.size() + 64);
    out.Append(style.opening);
    if (style.kind == Kind::Quoted)
        AppendDoublingQuotes(text, out);
    else
        out.Append(text);
    out.Append(style.closing);
    return std::string(out.Size() == 0 ? "" : out.Data(), out.Size());
}

std::string InsertStatementsPersistence::FormatNumber(int row, int column) {
    return Format(row, column, {Kind::Plain, "", ""});
}

std::string InsertStatementsPersistence::FormatTimestamp(int row, int column) {
    return Format(row, column, TimestampStyle());
}

std::string InsertStatementsPersistence::FormatBinary(int row, int column) {
    return Format(row, column, {Kind::Plain, "0x", ""});
}

std::string InsertStatementsPersistence::FormatLob(int row, int column) {
    return Format(row, column, LobStyle(column));
}

std::string InsertStatementsPersistence::FormatString(int row, int column) {
    return Format(row, column, {Kind::Quoted, "'", "'"});
}

}  // namespace qxdbsqlengine
