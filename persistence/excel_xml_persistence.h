// SpreadsheetML: file type 9, written only.
#pragma once

#include <string_view>
#include <vector>

#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"

namespace qxdbsqlengine {

// Writes spreadsheet XML; all result sets stand on one sheet, "Sheet1", with an empty row between them. One
// thread at a time, except the cancel flag.
//
// Lines end in LF. Labels and texts are escaped as TextEscaper::Xml does; numbers and timestamps are typed
// cells, and NULL is a text cell "[NULL]". The file declares ISO-8859-1 whatever the data is: bytes pass
// unchanged, those of UTF-8 and control characters too.
//
// The head of the file and the empty row go by the number of the result set and not by what was written
// before: result set 1 exported alone has no head, and an empty row. That is kept for callers who put such
// pieces together.
class QXSENG2_API ExcelXMLPersistence : public PersistenceImpl {
  public:
    explicit ExcelXMLPersistence(std::atomic<bool>& cancel);
    ~ExcelXMLPersistence() override;

    void WriteFileHeader() override;
    void WriteResultSetHeader(bool includeHeaders) override;
    void WriteRow(int row) override;
    void WriteResultSetFooter() override;  // nothing
    void WriteFileFooter() override;

    // One cell of the header row.
    virtual void WriteHeaderCell(int column);
    // One cell, read by itself. WriteRow writes the cells of its row as this does, but all under one lock.
    virtual void WriteDataCell(int row, int column);

  private:
    enum class Kind { Text, Number, Timestamp };
    class CellWriter : public CellSink {
      public:
        explicit CellWriter(ExcelXMLPersistence& persistence) : owner(persistence) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        std::vector<Kind> kinds;  // by position

      private:
        ExcelXMLPersistence& owner;
    };

    Kind KindOf(int column) const;
    // `text`: of a timestamp, in the format of this file.
    void AppendDataCell(Kind kind, bool isNull, std::string_view text);

    CellWriter cells;
};

}  // namespace qxdbsqlengine
