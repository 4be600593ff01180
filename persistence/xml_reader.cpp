#include "persistence/xml_reader.h"

#include <algorithm>
#include <limits>

#include "persistence/held_row.h"
#include "persistence/persistence.h"
#include "persistence/xml_words.h"
#include "platform/qxsplt/error_record.h"
#include "platform/qxutils/qx_exception.h"
#include "storage/data_storage.h"
#include "storage/number_text.h"

namespace qxdbsqlengine {
namespace {

constexpr int kRecordsOfAKind = 100;

// Elements by their place in the nesting.
constexpr int kUnknown = 0;
constexpr int kResultSetNumber = 1;
constexpr int kRowSetNumber = 2;
constexpr int kRowNumber = 3;
constexpr int kColumnNumber = 4;

int ElementNumber(std::string_view name) {
    if (name == xml::kColumn)
        return kColumnNumber;
    if (name == xml::kRow)
        return kRowNumber;
    if (name == xml::kRowSet)
        return kRowSetNumber;
    return name == xml::kResultSet ? kResultSetNumber : kUnknown;
}

int ChildOf(int number) {
    return number == kColumnNumber ? kUnknown : number + 1;
}

int ParentOf(int number) {
    return number - 1;
}

int NumberOf(const std::string& text) {
    int number = 0;
    ParseNumber(text, number);
    return number;
}

bool IsMarkedNull(const XmlAttributes& attributes) {
    const std::string* const null = attributes.Find(xml::kNull);
    return null != nullptr && *null == xml::kTrue;
}

}  // namespace

CXMLReader::CXMLReader(const SmartPtr<DataStorage>& store, IQXPersistenceProgressCallback* progress,
                       std::atomic<bool>& cancel)
    : storage(store), callback(progress), cancelled(cancel) {}

CXMLReader::~CXMLReader() = default;

bool CXMLReader::ParseFile(ByteSource& source, const std::string& name) {
    fileName = name;
    ExpatParser expat(*this);
    parser = &expat;
    const ExpatParser::Result result = expat.Parse(source);
    parser = nullptr;
    rowLock.reset();
    ReportRest(cutTexts);
    ReportRest(strayColumns);
    if (result != ExpatParser::Result::Complete)
        return result == ExpatParser::Result::Cancelled || IsCancelled();
    if (!sawDocument)
        Report(2, 0, 0, 0, "The file has no element resultset");
    return sawDocument;
}

bool CXMLReader::IsCancelled() {
    return cancelled.load(std::memory_order_relaxed);
}

void CXMLReader::OnStartElement(const XmlElement& element) {
    const int number = ElementNumber(element.name);
    if (number == kUnknown || number > expectedOpen)
        return;
    currentOpen = number;
    expectedOpen = ChildOf(number);
    if (number == kResultSetNumber) {
        sawDocument = true;
    } else if (number == kRowSetNumber) {
        firstRow = true;
        definitions.clear();
        values.clear();
        nulls.clear();
    } else if (number == kRowNumber) {
        currentColumn = -1;
        values.resize(definitions.size());
        for (std::string& value : values)
            value.clear();
        nulls.assign(definitions.size(), 0);
    } else {
        StartColumn(element.attributes);
    }
}

void CXMLReader::StartColumn(const XmlAttributes& attributes) {
    if (firstRow)
        AddColumn(attributes);
    else
        PassToColumn(attributes);
}

// A column of the first row defines it.
void CXMLReader::AddColumn(const XmlAttributes& attributes) {
    ColumnDefinition definition;
    if (const std::string* const name = attributes.Find(xml::kName))
        definition.columnLabel = *name;
    if (const std::string* const type = attributes.Find(xml::kType))
        definition.dataType = xml::TypeOf(*type);
    if (const std::string* const format = attributes.Find(xml::kFormat))
        if (definition.dataType == DataTypeTimestamp)
            definition.timestampFormat = *format;
    if (const std::string* const precision = attributes.Find(xml::kPrecision))
        definition.precision = std::max(NumberOf(*precision), 0);
    std::size_t place = definitions.size();
    if (const std::string* const id = attributes.Find(xml::kId)) {
        const int number = NumberOf(*id);
        if (number > 0)
            place = std::max(place, static_cast<std::size_t>(number) - 1);
    }
    if (place >= static_cast<std::size_t>(MaxColumns))
        throw XmlRefusal("A row has more than " + std::to_string(MaxColumns) + " columns");
    definitions.resize(place);
    values.resize(place);
    nulls.resize(place, 0);
    definitions.push_back(std::move(definition));
    values.emplace_back();
    nulls.push_back(IsMarkedNull(attributes));
}

// A column of a later row is one of those that the first row defined.
void CXMLReader::PassToColumn(const XmlAttributes& attributes) {
    const int count = static_cast<int>(definitions.size());
    if (const std::string* const id = attributes.Find(xml::kId)) {
        const int number = NumberOf(*id);
        currentColumn = number > 0 ? number - 1 : -1;
    } else if (currentColumn < count) {
        ++currentColumn;
    }
    if (currentColumn < 0 || currentColumn >= count) {
        const std::string* const id = attributes.Find(xml::kId);
        const std::string number = id != nullptr ? *id : std::to_string(currentColumn + 1);
        Remark(strayColumns, "Column " + number.substr(0, 20) + " in line " + std::to_string(parser->Line()) +
                                 " is none of the " + std::to_string(count) +
                                 " columns of the first row; it is left out");
        return;
    }
    nulls[static_cast<std::size_t>(currentColumn)] = IsMarkedNull(attributes);
    values[static_cast<std::size_t>(currentColumn)].clear();
}

// A text replaces what was there: a value that is broken up by an element keeps its last piece.
void CXMLReader::OnCharacters(const std::string& text, int) {
    std::string* value = nullptr;
    if (firstRow)
        value = values.empty() ? nullptr : &values.back();
    else if (currentColumn >= 0 && static_cast<std::size_t>(currentColumn) < values.size())
        value = &values[static_cast<std::size_t>(currentColumn)];
    if (value == nullptr)
        return;
    *value = text;
    if (parser->IsTextCut())
        Remark(cutTexts, "The value that ends in line " + std::to_string(parser->Line()) +
                             " is longer than 799 characters; the rest is left out");
}

void CXMLReader::OnEndElement(const XmlElement& element) {
    const int number = ElementNumber(element.name);
    if (number == kUnknown || number > currentOpen)
        return;
    expectedOpen = number;
    currentOpen = ParentOf(number);
    if (number == kRowNumber)
        EndRow();
}

void CXMLReader::EndRow() {
    if (firstRow) {
        columnCount = static_cast<int>(definitions.size());
        if (columnCount < 1)
            return;
        firstRow = false;
        storage->AddResultSet(definitions, ResultSetNormal);
        currentResultSet = storage->GetNumberOfResultSets() - 1;
        rowLock.emplace(storage->GetRowLock(currentResultSet));
    }
    StoreRow();
    if (rowsRead < std::numeric_limits<int>::max())
        ++rowsRead;
    ReportProgress();
}

void CXMLReader::StoreRow() {
    std::string problem;
    {
        HeldRow held(*rowLock);
        for (int column = 0; column < columnCount; ++column)
            if (!StoreValue(column, problem))
                storage->InsertNull(currentResultSet, column);
    }
    if (!problem.empty())
        throw XmlRefusal(problem);
}

bool CXMLReader::StoreValue(int column, std::string& problem) {
    const std::size_t place = static_cast<std::size_t>(column);
    try {
        if (nulls[place])
            storage->InsertNull(currentResultSet, column);
        else if (values[place].empty())
            storage->InsertEmpty(currentResultSet, column);
        else
            storage->InsertString(currentResultSet, column, values[place]);
    } catch (const qxutils::QXException& refused) {
        if (problem.empty())
            problem = "Column " + std::to_string(column + 1) + ": " + refused.what();
        return false;
    }
    return true;
}

// A sawtooth: the size of the file is not taken into account.
void CXMLReader::ReportProgress() {
    if (callback != nullptr)
        callback->OnProgress(static_cast<float>(rowsRead % 100) / 100.0f);
}

void CXMLReader::OnError(int line, int column, const std::string& message, int code) {
    Report(2, code, line, column, message);
}

void CXMLReader::Report(int severity, int code, int line, int column, const std::string& text) {
    if (callback == nullptr)
        return;
    callback->OnRecord(ErrorRecord(severity, code, line, column,
                                   fileName.empty() ? text : fileName + " -- " + text, "", nullptr));
}

void CXMLReader::Remark(Remarks& remarks, const std::string& text) {
    if (++remarks.count <= kRecordsOfAKind)
        Report(remarks.severity, 0, parser->Line(), 0, text);
}

void CXMLReader::ReportRest(const Remarks& remarks) {
    if (remarks.count > kRecordsOfAKind)
        Report(remarks.severity, 0, 0, 0, std::to_string(remarks.count - kRecordsOfAKind) + remarks.restText);
}

}  // namespace qxdbsqlengine
