#include "persistence/persistence.h"

#include "persistence/ascii_persistence.h"
#include "persistence/excel_persistence.h"
#include "persistence/excel_xml_persistence.h"
#include "persistence/html_persistence.h"
#include "persistence/insert_statements_persistence.h"
#include "persistence/xml_persistence.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

std::unique_ptr<IPersistenceImpl> MakeDelimited(ResultFileType type, std::atomic<bool>& cancel) {
    std::unique_ptr<IPersistenceImpl> impl(new AsciiPersistence(type, cancel));
    if (type == ResultFileTab)
        impl->SetDelimiter('\t');
    else if (type == ResultFileComma)
        impl->SetDelimiter(',');
    else if (type == ResultFilePipe)
        impl->SetDelimiter('|');
    return impl;
}

std::unique_ptr<IPersistenceImpl> MakeImpl(ResultFileType type, std::atomic<bool>& cancel) {
    switch (type) {
        case ResultFileTab:
        case ResultFileComma:
        case ResultFilePipe:
        case ResultFileDelimited:
            return MakeDelimited(type, cancel);
        case ResultFileHtml:
            return std::make_unique<HTMLPersistence>(cancel);
        case ResultFileExcel:
            return std::make_unique<ExcelPersistence>(cancel);
        case ResultFileXml:
            return std::make_unique<XMLPersistence>(cancel);
        case ResultFileInsert:
            return std::make_unique<InsertStatementsPersistence>(cancel);
        case ResultFileSpreadsheetXml:
            return std::make_unique<ExcelXMLPersistence>(cancel);
    }
    return nullptr;
}

}  // namespace

Persistence::Persistence(ResultFileType type, std::atomic<bool>& cancel,
                         IQXPersistenceProgressCallback* callback, const SmartPtr<DataStorage>& storage)
    : impl(MakeImpl(type, cancel)) {
    if (impl) {
        impl->SetProgressCallback(callback);
        impl->SetDataStorage(storage);
    }
}

Persistence::~Persistence() = default;

void Persistence::SetFileName(const char* fileName) {
    if (impl)
        impl->SetFileName(fileName);
}

std::string Persistence::GetFileName() const {
    return impl ? impl->GetFileName() : std::string();
}

void Persistence::SetDelimiter(char delimiter) {
    if (impl)
        impl->SetDelimiter(delimiter);
}

void Persistence::SetIncludeHeaders(bool include) {
    if (impl)
        impl->SetIncludeHeaders(include);
}

void Persistence::SetUseQuotingLogic(bool use) {
    if (impl)
        impl->SetUseQuotingLogic(use);
}

void Persistence::SetExpandTabs(bool expand) {
    if (impl)
        impl->SetExpandTabs(expand);
}

void Persistence::SetTableName(const char* tableName) {
    if (impl)
        impl->SetTableName(tableName);
}

void Persistence::SetRowList(const std::vector<int>& rows) {
    if (impl)
        impl->SetRowList(rows);
}

void Persistence::SetColumnList(const std::vector<int>& columns) {
    if (impl)
        impl->SetColumnList(columns);
}

void Persistence::SetQuotedColumnList(const std::vector<std::string>& names) {
    if (impl)
        impl->SetQuotedColumnList(names);
}

void Persistence::SetDBMSType(qxdb::DBTYPE type) {
    if (impl)
        impl->SetDBMSType(type);
}

bool Persistence::WriteAllResultSets() {
    return impl && impl->WriteAllResultSets();
}

bool Persistence::WriteResultSets(const std::deque<int>& resultSets) {
    return impl && impl->WriteResultSets(resultSets);
}

bool Persistence::WriteResultSet(int resultSet, bool wholeFile) {
    return impl && impl->WriteResultSet(resultSet, wholeFile);
}

bool Persistence::ReadAllResultSets() {
    return impl && impl->ReadAllResultSets();
}

void Persistence::SetOutputStream(std::ostream* stream) {
    if (impl)
        impl->SetOutputStream(stream);
}

}  // namespace qxdbsqlengine
