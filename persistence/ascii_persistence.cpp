#include "persistence/ascii_persistence.h"

#include <algorithm>

#include "persistence/held_row.h"
#include "platform/qxsplt/error_record.h"
#include "storage/column_definition.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

constexpr int kSurplusRecords = 100;  // told one by one; a file of another shape would give one for every row

// One of those that the text of a number never has, error texts included.
bool IsUsualDelimiter(char delimiter) {
    return delimiter == ',' || delimiter == '\t' || delimiter == '|' || delimiter == ';';
}

}  // namespace

std::size_t AsciiPersistence::FileSource::Read(char* to, std::size_t count) {
    return owner.ReadInput(to, count);
}

void AsciiPersistence::FieldSink::OnCell(int position, bool isNull, std::string_view text) {
    const char delimiter = encoder.GetRules().delimiter;
    const std::string_view before(&delimiter, position == 0 ? 0 : 1);
    if (isNull || isPlain[static_cast<std::size_t>(position)]) {
        out.Append(before, isNull ? std::string_view() : text, std::string_view());
    } else {
        out.Append(before);
        encoder.Append(text, out);
    }
}

AsciiPersistence::AsciiPersistence(ResultFileType type, std::atomic<bool>& cancel)
    : PersistenceImpl(cancel),
      fileType(type),
      fieldSink(encoder, Out()),
      fileSource(*this),
      reader(fileSource) {
    ApplyRules();
}

AsciiPersistence::~AsciiPersistence() = default;

void AsciiPersistence::SetDelimiter(char newDelimiter) {
    delimiter = newDelimiter;
    quote = delimiter == '"' ? "'" : "\"";
    doubledQuote = quote + quote;
    ApplyRules();
}

void AsciiPersistence::SetUseQuotingLogic(bool use) {
    PersistenceImpl::SetUseQuotingLogic(use);
    ApplyRules();
}

void AsciiPersistence::SetExpandTabs(bool expand) {
    PersistenceImpl::SetExpandTabs(expand);
    ApplyRules();
}

void AsciiPersistence::ApplyRules() {
    FieldRules rules;
    rules.delimiter = delimiter;
    rules.quote = quote.front();
    rules.quoteByNeed = useQuotingLogic;
    rules.expandTabs = expandTabs;
    rules.mayQuote = fileType != ResultFileTab && fileType != ResultFileDelimited;
    encoder.SetRules(rules);
    reader.SetFormat(delimiter, useQuotingLogic);
}

void AsciiPersistence::WriteFileHeader() {}

void AsciiPersistence::WriteResultSetHeader(bool includeLabels) {
    if (resultSetsWritten > 0)
        Out().Append("\r\n");
    const std::vector<int>& columns = SelectColumns();
    fieldSink.isPlain.assign(columns.size(), 0);
    if (includeLabels) {
        int position = 0;
        for (int column : columns)
            fieldSink.OnCell(position++, false, storage->GetColumnLabel(currentResultSet, column));
        Out().Append("\r\n");
    }
    if (!IsUsualDelimiter(delimiter))
        return;
    for (std::size_t i = 0; i < columns.size(); ++i)
        fieldSink.isPlain[i] = IsNumber(columns[i]);
}

void AsciiPersistence::WriteRow(int row) {
    VisitSelectedColumns(row, fieldSink);
    Out().Append("\r\n");
}

void AsciiPersistence::WriteResultSetFooter() {}

std::string AsciiPersistence::EncodeValue(const std::string& value) {
    OutputBuffer field(value.size() + 16);
    encoder.Append(value, field);
    return std::string(field.Data() == nullptr ? "" : field.Data(), field.Size());
}

void AsciiPersistence::OnInputOpened() {
    reader.Start();
    rowLock.reset();
    surplusRows = 0;
}

long long AsciiPersistence::InputPosition() {
    return reader.Position();
}

void AsciiPersistence::OnInputClosing() {
    rowLock.reset();
    rowTokens = std::vector<std::string>();
    reader.Release();
    if (surplusRows > kSurplusRecords)
        ReportRemark(2, 0, std::to_string(surplusRows - kSurplusRecords) + " more rows have too many values");
    if (reader.UnclosedQuoteLine() != 0)
        ReportRemark(1, reader.UnclosedQuoteLine(),
                     "The quote in line " + std::to_string(reader.UnclosedQuoteLine()) +
                         " is not closed before the end of the file");
}

bool AsciiPersistence::ReadTokens(std::vector<std::string>& tokens) {
    return reader.ReadRecord(tokens);
}

bool AsciiPersistence::ReadNextTokens(std::vector<std::string>& tokens) {
    bool more = ReadTokens(tokens);
    while (more && tokens.empty() && !IsCancelled())
        more = ReadTokens(tokens);
    return more;
}

bool AsciiPersistence::ReadResultSetHeader(bool includeLabels) {
    if (!includeLabels)
        return true;
    if (!ReadNextTokens(rowTokens) || rowTokens.empty())
        return false;
    totalRows = 0;
    columnCount = 0;
    AddTextResultSet(rowTokens.size(), true);
    return true;
}

void AsciiPersistence::AddTextResultSet(std::size_t count, bool named) {
    std::vector<ColumnDefinition> definitions(count);
    for (std::size_t i = 0; named && i < count; ++i)
        definitions[i].columnLabel = rowTokens[i];
    storage->AddResultSet(definitions, ResultSetNormal);
    currentResultSet = storage->GetNumberOfResultSets() - 1;
    columnCount = static_cast<int>(count);
    ++resultSetsWritten;
    rowLock.emplace(storage->GetRowLock(currentResultSet));
}

bool AsciiPersistence::ReadRow() {
    ReadTokens(rowTokens);
    while (rowTokens.empty()) {
        // An empty line ends a result set; several of them, as behind a result set without rows, end as many.
        if (reader.AtEnd())
            return false;
        if (IsCancelled())
            return true;
        currentResultSet = -1;
        if (!ReadResultSetHeader(includeHeaders))
            return false;
        ReadTokens(rowTokens);
    }
    if (currentResultSet == -1)
        AddTextResultSet(rowTokens.size(), false);
    StoreRow();
    CountRow();
    if (rowTokens.size() > static_cast<std::size_t>(columnCount))
        ReportSurplus();
    return true;
}

void AsciiPersistence::StoreRow() {
    static const std::string empty;
    const int given = static_cast<int>(std::min<std::size_t>(rowTokens.size(), columnCount));
    DataStorage& store = *storage;
    HeldRow held(*rowLock);
    for (int column = 0; column < given; ++column)
        store.InsertString(currentResultSet, column, rowTokens[column]);
    for (int column = given; column < columnCount; ++column)
        store.InsertString(currentResultSet, column, empty);
}

void AsciiPersistence::ReportSurplus() {
    if (++surplusRows > kSurplusRecords)
        return;
    const long long line = reader.RecordLine();
    ReportRemark(2, line,
                 "Line " + std::to_string(line) + " has " + std::to_string(rowTokens.size()) +
                     " values for " + std::to_string(columnCount) + " columns; the surplus is left out");
}

}  // namespace qxdbsqlengine
