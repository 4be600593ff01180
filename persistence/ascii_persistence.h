// Delimited text: file types tab, comma, pipe and free delimiter, written and read back.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "persistence/delimited_reader.h"
#include "persistence/field_encoder.h"
#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"
#include "storage/row_lock.h"

namespace qxdbsqlengine {

// Writes and reads delimited text. One thread at a time, except the cancel flag.
//
// Writing. Each result set is a line of column labels (with headers on) and its rows, an empty line before
// every result set but the first. Fields are separated by the delimiter, lines end in CR LF. NULL and the
// empty text are both an empty field. How a value becomes a field stands at FieldEncoder; tab and free
// delimiter files are never quoted.
//
// Reading. All columns are texts. How a line becomes fields stands at DelimitedReader. Each result set of the
// file becomes one of the store, under a RowLock for each row:
//   - A row with fewer fields than the first line is filled up with empty texts.
//   - A row with more keeps its first fields; the surplus is dropped, and a record names the line and both
//     counts (severity 2). After 100 such records the rest is counted and told in one more at the end.
//   - A quote that is still open at the end of the file ends there; a record names its line (severity 1).
// With headers off, columns have no names and the first row of a result set fixes their number.
//
// What does not come back as it was: types, NULL (an empty text), CR LF (LF), a lone CR and, with expandTabs,
// a tab (blanks). A row whose only field is empty is an empty line and thus the end of its result set. A
// field that was written bare is read by the rules for bare fields, so a leading single quote opens a quoted
// field and a doubled quote in the middle becomes one.
class QXSENG2_API AsciiPersistence : public PersistenceImpl {
  public:
    AsciiPersistence(ResultFileType type, std::atomic<bool>& cancel);
    ~AsciiPersistence() override;

    void SetDelimiter(char newDelimiter) override;
    void SetUseQuotingLogic(bool use) override;
    void SetExpandTabs(bool expand) override;
    // With headers on, reads the line of column labels, empty lines before it apart, and adds a result set;
    // false when there is no such line.
    bool ReadResultSetHeader(bool includeHeaders) override;
    bool ReadRow() override;
    void WriteFileHeader() override;  // nothing
    void WriteResultSetHeader(bool includeHeaders) override;
    void WriteRow(int row) override;
    void WriteResultSetFooter() override;  // nothing

    // Reads records until one has fields; false at the end of the file. A cancel ends the search.
    virtual bool ReadNextTokens(std::vector<std::string>& tokens);
    // Reads one record; an empty line has no tokens. False at the end of the file.
    virtual bool ReadTokens(std::vector<std::string>& tokens);
    // The field that stands in the file for a value.
    virtual std::string EncodeValue(const std::string& value);

  protected:
    void OnInputOpened() override;
    long long InputPosition() override;
    void OnInputClosing() override;

  private:
    class FileSource : public ByteSource {
      public:
        explicit FileSource(AsciiPersistence& persistence) : owner(persistence) {}
        std::size_t Read(char* to, std::size_t count) override;

      private:
        AsciiPersistence& owner;
    };
    class FieldSink : public CellSink {
      public:
        FieldSink(const FieldEncoder& fieldEncoder, OutputBuffer& buffer)
            : encoder(fieldEncoder), out(buffer) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        std::vector<char> isPlain;  // by position: the texts of this column are never encoded

      private:
        const FieldEncoder& encoder;
        OutputBuffer& out;
    };

    void ApplyRules();
    // False when the read is over.
    bool ReadPastEmptyLines();
    void AddTextResultSet(std::size_t count, bool named);
    void StoreRow();
    void ReportSurplus();

    char delimiter = ',';
    std::string quote = "\"";
    std::string doubledQuote = "\"\"";
    ResultFileType fileType;

    FieldEncoder encoder;
    FieldSink fieldSink;
    FileSource fileSource;
    DelimitedReader reader;
    std::vector<std::string> rowTokens;  // reused for every row
    std::optional<RowLock> rowLock;      // of the current result set
    int surplusRows = 0;                 // rows of this file that were longer than their first line
};

}  // namespace qxdbsqlengine
