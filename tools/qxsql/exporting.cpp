#include "tools/qxsql/exporting.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "platform/qxsplt/error_record.h"
#include "platform/qxutils/string_utils.h"
#include "tools/qxsql/export_view.h"
#include "tools/qxsql/file_formats.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/sql_names.h"

namespace qxsql {

using qxdbsqlengine::DataStorage;
using qxdbsqlengine::Persistence;
using qxdbsqlengine::ResultFileType;

namespace {

// What the writer or reader reports about a file. A reader of XML tells no share of the whole: there the rows
// are counted.
class FileProgress : public qxdbsqlengine::IQXPersistenceProgressCallback {
  public:
    enum Unit { Percent, Rows };

    FileProgress(const CommandLine& line, const char* action, Unit shownUnit)
        : what(action), unit(shownUnit), shown(ProgressOf(line)) {}

    void OnProgress(float done) override {
        // Called for each row: most of the time only this counter moves.
        if (++calls % 4096 != 0)
            return;
        if (unit == Rows)
            shown.ShowRows(calls);
        else
            shown.ShowPercent(what, done);
    }
    void OnTotalRows(int) override {}
    void OnRecord(const ErrorRecord& record) override {
        shown.Wipe();
        reported = true;
        // Who reads through a pipe and has seen enough needs no message.
        if (record.GetErrorCode() == EPIPE)
            return;
        std::cerr << record.GetErrorDescription();
        // The place of a fault in XML; other records have it in their text.
        if (record.GetErrorPosition() > 0)
            std::cerr << " (line " << record.GetLineNumber() << ", column " << record.GetErrorPosition()
                      << ')';
        std::cerr << '\n';
    }
    void OnRowsDone(int) override {}

    bool Reported() const { return reported; }

  private:
    const char* what;
    const Unit unit;
    ProgressLine shown;
    long long calls = 0;
    bool reported = false;
};

void Configure(const CommandLine& line, ResultFileType type, Persistence& file) {
    // What is read and what is written may have different formats.
    if (line.delimiter && type == qxdbsqlengine::ResultFileDelimited)
        file.SetDelimiter(*line.delimiter);
    file.SetIncludeHeaders(line.headers);
    file.SetUseQuotingLogic(line.quoting);
    file.SetExpandTabs(line.expandTabs);
}

// Servers whose INSERT statements the writer knows. The others get those of standard SQL: a ; behind each,
// without which no client runs them, and X'' around bytes.
bool HasOwnDialect(qxdb::DBTYPE server) {
    switch (server) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
        case qxdb::DBTYPE_DB2:
        case qxdb::DBTYPE_ORACLE:
        case qxdb::DBTYPE_DB2OS390:
        case qxdb::DBTYPE_MYSQL:
            return true;
        default:
            return false;
    }
}

// Whether the word is a part of the name that the server has for the column's type.
bool NativeTypeIs(DataStorage& store, int resultSet, int column, const char* word) {
    std::string name = store.GetNativeDataTypeName(resultSet, column);
    qxutils::StringUtils::StringUpper(name);
    return name.find(word) != std::string::npos;
}

bool HoldsBytes(DataStorage& store, int resultSet, int column) {
    if (store.GetDataType(resultSet, column) == qxdbsqlengine::DataTypeBinary)
        return true;
    if (store.GetDataType(resultSet, column) != qxdbsqlengine::DataTypeLob)
        return false;
    for (const char* const word : {"BLOB", "BINARY", "BYTEA", "IMAGE"}) {
        if (NativeTypeIs(store, resultSet, column, word))
            return true;
    }
    return false;
}

bool IsTyped(DataStorage& store, int resultSet, int column) {
    const qxdbsqlengine::EnumDataType type = store.GetDataType(resultSet, column);
    return type >= qxdbsqlengine::DataTypeShort && type <= qxdbsqlengine::DataTypeTimestamp;
}

// Without these a name or a value would end before its time in the file.
void SuitInsert(qxdb::DBTYPE dialect, qxdb::DBTYPE server, ExportChoice& choice) {
    choice.label = [dialect](const std::string& label) { return ColumnNameOf(label, dialect); };
    // The types of one server mean nothing to another.
    choice.hideNativeTypes = dialect != server || !HasOwnDialect(dialect);
    choice.form = [dialect](DataStorage& store, int resultSet, int column) {
        if (!HasOwnDialect(dialect) && HoldsBytes(store, resultSet, column))
            // PostgreSQL takes X'00FF' for bits.
            return NativeTypeIs(store, resultSet, column, "BYTEA") ? ValueForm::ByteaLiteral
                                                                   : ValueForm::HexLiteral;
        // A lone 0x is a name there, and large objects would be texts of digits.
        if (dialect == qxdb::DBTYPE_MYSQL && HoldsBytes(store, resultSet, column))
            return ValueForm::ZeroXLiteral;
        if (dialect == qxdb::DBTYPE_MYSQL && !IsTyped(store, resultSet, column))
            return ValueForm::BackslashEscape;
        return ValueForm::AsItIs;
    };
}

ExportChoice ChoiceOf(const CommandLine& line, DataStorage& store, const std::vector<int>& resultSets) {
    ExportChoice choice;
    choice.resultSets = resultSets;
    choice.columns = line.columns;
    choice.allRows = line.rows.empty();
    for (const int resultSet : resultSets) {
        if (!choice.allRows)
            choice.rows.push_back(RowsOf(line.rows, store.GetNumberOfRows(resultSet)));
    }
    return choice;
}

void SuitTexts(ValueForm form, ExportChoice& choice) {
    choice.form = [form](DataStorage& store, int resultSet, int column) {
        return IsTyped(store, resultSet, column) ? ValueForm::AsItIs : form;
    };
}

char BlankForControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
}

void SuitSpreadsheetXml(ExportChoice& choice) {
    choice.label = [](std::string label) {
        std::transform(label.begin(), label.end(), label.begin(), BlankForControl);
        return label;
    };
    SuitTexts(ValueForm::XmlText, choice);
}

void SuitXml(ExportChoice& choice) {
    choice.label = [](const std::string& label) {
        std::string escaped;
        for (const char c : label) {
            switch (c) {
                case '&':
                    escaped += "&amp;";
                    break;
                case '<':
                    escaped += "&lt;";
                    break;
                case '"':
                    escaped += "&quot;";
                    break;
                default:
                    escaped += BlankForControl(c);
            }
        }
        return escaped;
    };
    SuitTexts(ValueForm::CdataText, choice);
}

}  // namespace

ProgressLine::When ProgressOf(const CommandLine& line) {
    if (line.progress)
        return ProgressLine::Always;
    return line.quiet ? ProgressLine::Never : ProgressLine::OnTerminal;
}

void NameTable(const CommandLine& line, DataStorage& store, int resultSet) {
    if (OutputType(line) != qxdbsqlengine::ResultFileInsert)
        return;
    const std::string name = line.table.empty() ? TableNameOf(store.GetTableName(resultSet)) : line.table;
    if (name.empty())
        throw std::invalid_argument(
            "INSERT statements need the name of a table, and the statement does not tell it: --table NAME");
    store.SetTableName(resultSet, name);
}

DataStorage ShownResults(const CommandLine& line, DataStorage& store, const std::vector<int>& resultSets) {
    return ExportView::Of(store, ChoiceOf(line, store, resultSets));
}

bool WriteResults(const CommandLine& line, qxdb::DBTYPE server, const StorePtr& store,
                  const std::vector<int>& resultSets, std::ostream* out) {
    const ResultFileType type = OutputType(line);
    const qxdb::DBTYPE dialect = line.dialect != nullptr ? line.dialect->server : server;
    ExportChoice choice = ChoiceOf(line, *store, resultSets);
    if (type == qxdbsqlengine::ResultFileInsert)
        SuitInsert(dialect, server, choice);
    if (type == qxdbsqlengine::ResultFileXml)
        SuitXml(choice);
    if (type == qxdbsqlengine::ResultFileSpreadsheetXml)
        SuitSpreadsheetXml(choice);
    bool lostCharacters = false;
    choice.lostCharacters = &lostCharacters;
    const StorePtr view(new DataStorage(ExportView::Of(*store, std::move(choice))));

    FileProgress progress(line, out == nullptr ? "Exporting" : "Writing", FileProgress::Percent);
    Persistence writer(type, Interrupted(), &progress, view);
    Configure(line, type, writer);
    // Those of DB2 are standard SQL, as long as no types of DB2 are seen.
    writer.SetDBMSType(HasOwnDialect(dialect) ? dialect : qxdb::DBTYPE_DB2);
    const std::string name = out == nullptr ? line.outputFile : "standard output";
    writer.SetFileName(name.c_str());
    writer.SetOutputStream(out);
    const bool written = writer.WriteAllResultSets() && (out == nullptr || out->flush().good());
    if (!written && !progress.Reported())
        std::cerr << "Cannot write " << (out == nullptr ? "" : "to ") << name << '\n';
    if (written && lostCharacters)
        std::cerr << name << ": control characters, which XML has no place for, were written as ?\n";
    return written;
}

bool LoadFile(const CommandLine& line, const StorePtr& store) {
    const ResultFileType type = InputType(line);
    FileProgress progress(line, "Reading",
                          type == qxdbsqlengine::ResultFileXml ? FileProgress::Rows : FileProgress::Percent);
    Persistence reader(type, Interrupted(), &progress, store);
    Configure(line, type, reader);
    reader.SetFileName(line.readFile.c_str());
    if (reader.ReadAllResultSets())
        return true;
    if (!progress.Reported())
        std::cerr << "Cannot read " << line.readFile << '\n';
    return false;
}

}  // namespace qxsql
