// Reads XML results files into a store.
#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "persistence/byte_source.h"
#include "persistence/expat_parser.h"
#include "persistence/xml_element_handler.h"
#include "platform/smart_ptr.h"
#include "storage/column_definition.h"
#include "storage/row_lock.h"

namespace qxdbsqlengine {

class DataStorage;
class IQXPersistenceProgressCallback;

// Turns the events of one document into result sets of a store; the vocabulary stands in xml_words.h. One
// thread; flag, callback (may be null) and store must outlive it. Only the sources of this folder use it.
//
// A rowset becomes a result set when its first row ends; its columns are those of that row, with labels,
// types, precisions and timestamp formats. A rowset without rows, or whose rows have no columns, adds
// nothing. Each row is stored under a RowLock, as texts that the columns turn into their types.
//
// What does not come back as it was: texts of white space alone (empty), texts of more than 799 bytes (cut,
// with a record of severity 1 for the line), CR and CR LF (LF). In a file of a column list whose numbers do
// not rise, later rows find their columns by number and the first row's by place.
//
// Odd documents:
//   - Elements out of their order are dropped, with the row, column or text that they hold; unknown elements
//     are passed over.
//   - Gaps in the numbers of the first row's columns are filled up with text columns.
//   - A column that is missing in a later row is empty and not NULL. One that the first row did not have is
//     ignored, with a record of severity 2; so is a number below 1.
//   - A value that its column does not take (a timestamp that is none) is stored as NULL and ends the read
//     with an error, as does a column number above MaxColumns.
// After 100 records of a kind the rest is counted and told in one more at the end.
class CXMLReader : public IXmlElementHandler {
  public:
    static constexpr int MaxColumns = 32767;  // no server has more; numbers come from the file

    CXMLReader(const SmartPtr<DataStorage>& store, IQXPersistenceProgressCallback* progress,
               std::atomic<bool>& cancel);
    ~CXMLReader() override;

    // Reads a document; `name` is for messages. True also after a cancel.
    bool ParseFile(ByteSource& source, const std::string& name);

    void OnStartElement(const XmlElement& element) override;
    void OnCharacters(const std::string& text, int depth) override;
    void OnEndElement(const XmlElement& element) override;
    void OnError(int line, int column, const std::string& message, int code) override;
    bool IsCancelled() override;

  private:
    // A remark that can come for every row.
    struct Remarks {
        int severity;
        const char* restText;  // behind the number of those that were not told one by one
        int count;
    };

    void StartColumn(const XmlAttributes& attributes);
    void AddColumn(const XmlAttributes& attributes);
    void PassToColumn(const XmlAttributes& attributes);
    void EndRow();
    void StoreRow();
    // False, with the reason in `problem` unless there is one, when the column does not take the value.
    bool StoreValue(int column, std::string& problem);
    void ReportProgress();
    void Report(int severity, int code, int line, int column, const std::string& text);
    void Remark(Remarks& remarks, const std::string& text);
    void ReportRest(const Remarks& remarks);

    const SmartPtr<DataStorage> storage;
    int currentResultSet = -1;
    IQXPersistenceProgressCallback* const callback;
    int rowsRead = 0;
    int columnCount = 0;
    bool firstRow = false;  // a rowset has begun and its columns are not yet known
    bool sawDocument = false;
    int currentColumn = -1;  // -1 at a row's start
    std::atomic<bool>& cancelled;
    int expectedOpen = 1;
    int currentOpen = 0;
    // One entry for each column; not vector<bool>, whose items have no address.
    std::vector<ColumnDefinition> definitions;
    std::vector<std::string> values;
    std::vector<char> nulls;
    std::string fileName;

    std::optional<RowLock> rowLock;  // of the current result set
    ExpatParser* parser = nullptr;   // during ParseFile
    Remarks cutTexts{1, " more values are longer than 799 characters", 0};
    Remarks strayColumns{2, " more columns are not those of the first row", 0};
};

}  // namespace qxdbsqlengine
