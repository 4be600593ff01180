// Large objects of the embedded driver: the locator of a cell, and the texts of its row.
#pragma once

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "drivers/sqlite_support.h"
#include "platform/qxdb/lob_locator.h"
#include "support/files.h"

namespace qxtest {

using Cells = std::list<std::string>;
using Lines = std::vector<std::string>;

struct Lob {
    qxdb::LobLocator locator;
    Cells row;
};

// Of the first row of a query.
inline Lob LobOf(qxdb::Connection connection, const std::string& sql, unsigned int column) {
    OpenResult result(connection, sql);
    Lob lob;
    if (result.Fetch()) {
        for (unsigned int i = 0; i < result.fields->GetFieldCount(); ++i) {
            lob.row.push_back(result[i].IsNull() ? "[NULL]" : ReadNatively(result[i]));
        }
    }
    lob.locator = result.cursor.GetLocator(column, "", "", "", false);
    return lob;
}

class LobTest : public testing::Test {
  protected:
    explicit LobTest(const std::string& options = "create unlimited=lob")
        : name(folder.File("data.db")), connection(Open(name, options)) {}

    Lob Take(const std::string& sql, unsigned int column) { return LobOf(connection, sql, column); }
    std::string Export(Lob& lob) { return Export(lob, connection); }
    std::string Export(Lob& lob, qxdb::Connection& over) {
        const std::string target = folder.File("target");
        lob.locator.Export(target, over, &lob.row);
        return FileContent(target);
    }
    void Import(Lob& lob, const std::string& content) {
        const std::string source = folder.File("source");
        PutFile(source, content);
        lob.locator.Import(source, connection, &lob.row);
    }
    Failure ExportFailure(Lob& lob) {
        return FailureOf([&] { lob.locator.Export(folder.File("target"), connection, &lob.row); });
    }
    Failure ImportFailure(Lob& lob, const std::string& content) {
        return FailureOf([&] { Import(lob, content); });
    }
    // The first cell of a query as text.
    std::string Value(const std::string& sql) {
        const Lines rows = Rows(connection, sql, true);
        return rows.empty() ? "(no row)" : rows[0];
    }

    const ScratchFolder folder;
    const std::string name;
    qxdb::Connection connection;
};

}  // namespace qxtest
