// The HTML dialect that spreadsheets open: file type 4, written only.
#pragma once

#include <string_view>
#include <vector>

#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"

namespace qxdbsqlengine {

// Writes HTML with the style sections of an office program; all result sets stand on one sheet, "Sheet1". One
// thread at a time, except the cancel flag.
//
// Lines end in CR LF. Labels and texts are escaped as TextEscaper::Excel does; all other values stand
// unescaped. NULL is the text "[NULL]", unescaped and aligned by the column's hint, whatever the type.
//
// Kept as it is: the class of timestamp cells is spelled "x129", which matches no style, so a spreadsheet
// shows them in a format of its own.
class QXSENG2_API ExcelPersistence : public PersistenceImpl {
  public:
    explicit ExcelPersistence(std::atomic<bool>& cancel);
    ~ExcelPersistence() override;

    void WriteFileHeader() override;
    void WriteResultSetHeader(bool includeHeaders) override;
    void WriteRow(int row) override;
    void WriteResultSetFooter() override;
    void WriteFileFooter() override;

    // One cell of the header line.
    virtual void WriteHeaderCell(int column);
    // One cell, read by itself. WriteRow writes the cells of its row as this does, but all under one lock.
    virtual void WriteDataCell(int row, int column);

  private:
    enum class Kind { Plain, Text, Timestamp };
    struct Style {
        Kind kind;
        std::string_view opening;      // of a value
        std::string_view nullOpening;  // of a NULL
    };
    class CellWriter : public CellSink {
      public:
        explicit CellWriter(ExcelPersistence& persistence) : owner(persistence) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        std::vector<Style> styles;  // by position

      private:
        ExcelPersistence& owner;
    };

    Style StyleOf(int column) const;
    // `text`: of a timestamp, in the format of this file.
    void AppendDataCell(const Style& style, bool isNull, std::string_view text);

    CellWriter cells;
};

}  // namespace qxdbsqlengine
