// Large objects of real servers, from a SELECT to the file and back.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lob/lob_request_director.h"
#include "server_run.h"
#include "support/files.h"

namespace qxtest {

// Servers with a table, transfers of its large objects, and a connection to look at it.
class LobRun {
  public:
    using Director = qxdbsqlengine::CLobRequestDirector;
    using Lines = std::vector<std::string>;

    explicit LobRun(bool mariadb)
        : options(mariadb ? "" : "unlimited=lob"),
          watcher(DefinitionOf(mariadb, options).Connect()),
          definition(mariadb ? qxdb::DBTYPE_MYSQL : qxdb::DBTYPE_OTHER, "server", 0.0, "", ""),
          connections(new FreshConnections(DefinitionOf(mariadb, options))),
          select(mariadb, options) {
        select.director.SetUseLobLocators(true);
    }

    // Reads a result, whose large objects are told by locators.
    void Read(const std::string& sql) {
        select.Run(sql);
        EXPECT_EQ(select.Errors(), Lines());
    }
    qxdbsqlengine::LobExtract Extract(int row, int column) {
        return select.director.GetDataStorage()->GetLob(0, row, column);
    }

    // Runs a transfer to its end and gives what the callbacks were told.
    Lines Transfer(qxdbsqlengine::LobExtract& lob, Director::Direction direction,
                   const std::string& fileName) {
        lob.SetFileName(fileName);
        Director director(definition, connections, lob, direction);
        RecordingCallbacks calls;
        calls.RegisterWith(director);
        director.Execute();
        EXPECT_TRUE(Await([&] { return !director.IsExecuting(); }));
        EXPECT_EQ(director.GetDataStorage()->GetNumberOfResultSets(), 0);
        return calls.AllLines();
    }

    static Lines Exported(const std::string& fileName) {
        return {"OnRequestBegin", "OnRequestBegin", "OnLobExtracted " + fileName, "OnRequestEnd",
                "OnRequestEnd"};
    }
    static Lines Imported() {
        return {"OnRequestBegin", "OnRequestBegin", "OnLobImported", "OnRequestEnd", "OnRequestEnd"};
    }
    static Lines Failed(const std::string& text) {
        return {"OnRequestBegin", "OnRequestBegin", "OnError " + text, "OnRequestEnd"};
    }

    const std::string options;
    qxdb::Connection watcher;
    const qxdbsrd::ConnectionDefElement definition;
    const qxdbsqlengine::ConnectionRequestCallbackPtr connections;
    ServerRun select;
    const ScratchFolder folder;
};

}  // namespace qxtest
