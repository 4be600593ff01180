// The inserter of named (object) types.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxdb/cursor.h"
#include "storage/data_storage_inserter.h"

namespace qxdbsqlengine {

// A value of a named type comes as a cursor within the field. It is stored as text, a parenthesised list:
//   (1,2,3)                  a collection: rows of one field
//   ((1, 'red'))             an object: one row of several fields
//   ((1, 'red')
//   ,(2,NULL)
//   )                        a table: each of its rows ends its line
//   (NULL)                   no rows
// and a line end behind the last parenthesis. Character values stand in quotes, which are not doubled within
// them; fields that are cursors themselves are rendered in the same way, to any depth.
//
// Threads and ownership: those of DataStorageInserter.
class QXSENG2_API NamedTypeHandler : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~NamedTypeHandler() override;

    void Insert() override;
    // Takes the field's cursor.
    virtual void FillCursor(qxdb::Field& source);
    // Reads `nested` to its end and appends its text. Throws what the driver throws.
    virtual void BuildText(qxdb::Cursor& nested, std::string& text);

  private:
    static void AppendValue(qxdb::Field& value, std::string& text);

    qxdb::Cursor* cursor = nullptr;  // of the current row
};

}  // namespace qxdbsqlengine
