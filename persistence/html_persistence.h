// HTML pages: file type 2, written only.
#pragma once

#include <string_view>
#include <vector>

#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"

namespace qxdbsqlengine {

// Writes one page with one table for each result set. One thread at a time, except the cancel flag.
//
// Lines end in CR LF. The title is the file name as it was set, path included and not escaped; labels and
// values are escaped as TextEscaper::Html does. NULL is the text "[NULL]". Numbers are aligned to the right.
//
// Kept as they are, because readers of these files know them: no line end behind the opening of a table, so
// without headers the first row goes on in its line; a FONT in the page's head that is never closed; one
// colour for all rows.
class QXSENG2_API HTMLPersistence : public PersistenceImpl {
  public:
    explicit HTMLPersistence(std::atomic<bool>& cancel);
    ~HTMLPersistence() override;

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
    struct Style {
        std::string_view opening;
        bool isNumber;  // nothing to escape
    };
    class CellWriter : public CellSink {
      public:
        explicit CellWriter(OutputBuffer& buffer) : out(buffer) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        std::vector<Style> styles;  // by position

      private:
        OutputBuffer& out;
    };

    Style StyleOf(int column) const;
    static void AppendDataCell(const Style& style, std::string_view text, OutputBuffer& out);

    CellWriter cells;
};

}  // namespace qxdbsqlengine
