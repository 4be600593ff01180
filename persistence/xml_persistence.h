// XML results files: file type 6, written and read back.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "persistence/persistence_impl.h"
#include "storage/cell_sink.h"

namespace qxdbsqlengine {

// Writes and reads the vocabulary of xml_words.h. One thread at a time, except the cancel flag.
//
// Writing. Lines end in LF. The file declares ISO-8859-1 whatever the data is, so any bytes stand in it
// unchanged. Numbers, bytes and timestamps carry their type; all other values stand in a CDATA section. There
// are no header rows, so SetIncludeHeaders has no effect. Nothing is escaped: a value with "]]>", a control
// character other than tab and line ends, or a name with one of & < " gives a file that no parser takes.
//
// Names: the label up to the first of "(*)". The list of names holds those of the selected columns only, but
// is asked for them by column number, so with a column list a name can be empty or another column's.
//
// Reading. See CXMLReader for what comes back.
class QXSENG2_API XMLPersistence : public PersistenceImpl {
  public:
    explicit XMLPersistence(std::atomic<bool>& cancel);
    ~XMLPersistence() override;

    // False when the file cannot be opened or read, is not well-formed, holds a value that its column does
    // not take, or is no results file at all; the reason goes to the callback, save in the last case. True
    // after a cancel. Rows that were read before stay in the store.
    bool ReadAllResultSets() override;
    void WriteFileHeader() override;
    void WriteResultSetHeader(bool includeHeaders) override;
    void WriteRow(int row) override;
    void WriteResultSetFooter() override;
    void WriteFileFooter() override;

    // Appends the column's name to the list of names.
    virtual void AddColumnName(int column);
    // One cell, read by itself. WriteRow writes the cells of its row as this does, but all under one lock.
    virtual void WriteCell(int row, int column);

  private:
    // A cell up to its value.
    struct Style {
        std::string opening;       // <column id=... with the attributes that all rows share
        std::string valueOpening;  // the same up to a value
        bool isTyped;              // else the value goes into a CDATA section
    };
    class CellWriter : public CellSink {
      public:
        explicit CellWriter(OutputBuffer& buffer) : out(buffer) {}
        void OnCell(int position, bool isNull, std::string_view text) override;
        std::vector<Style> styles;  // by position

      private:
        OutputBuffer& out;
    };
    class InputSource;

    Style StyleOf(int column);

    std::vector<std::string> columnNames;
    CellWriter cells;
};

}  // namespace qxdbsqlengine
