// Long queries of the embedded driver, cancelled.
#include <gtest/gtest.h>

#include <chrono>
#include <locale>
#include <memory>
#include <string>

#include "director_support.h"
#include "drivers/sqlite_support.h"
#include "engine/single_connection.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

// An endless table of the numbers from 1.
const std::string numbers = "with recursive n(i) as (select 1 union all select i + 1 from n) ";

class SQLiteCancelTest : public testing::Test {
  protected:
    SQLiteCancelTest()
        : name(folder.File("data.db")), observer(Open(name, "create timeout=0")), def(Definition()) {
        RunAll(observer, "create table t(i integer)");
        lender = ConnectionRequestCallbackPtr(new SingleConnection(
            qxdb::ConnectionDef(qxdb::DBTYPE_SQLITE, name, "", "", "sqlite", std::string())));
        director = std::make_unique<OpenDirector>(def, lender, nullptr, std::string(), true);
        calls.RegisterWith(*director);
    }

    qxdbsrd::ConnectionDefElement Definition() const {
        return qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_SQLITE, name, 0.0, "", "");
    }
    void Execute(const std::string& sql) { director->Execute(sql, SQLRequest::RequestSQL, false, false); }
    int RowsSoFar() const {
        const SmartPtr<DataStorage> store = director->GetDataStorage();
        return store->GetNumberOfResultSets() == 0 ? 0 : store->GetNumberOfRows(0);
    }
    // The running statement is inside the server, and has the database's lock.
    bool IsWriting() {
        try {
            RunAll(observer, "begin immediate; rollback");
            return false;
        } catch (const Errors&) {
            return true;
        }
    }
    void CancelAndWait() {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(director->Cancel());
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        ASSERT_TRUE(Eventually([this] { return calls.LinesOf("OnRequestEnd").size() == 1; }));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
        EXPECT_EQ(calls.LinesOf("OnError"), Lines());
        EXPECT_EQ(calls.LinesOf("OnCancelFailed"), Lines());
    }
    // The connection that the cancelled run had serves the next one.
    void ExpectConnectionUsable() {
        OpenDirector next(def, lender, nullptr, std::string(), true);
        RecordingCallbacks nextCalls;
        nextCalls.RegisterWith(next);
        next.Execute("select count(*) from t", SQLRequest::RequestSQL, false, false);
        ASSERT_TRUE(Eventually([&] { return nextCalls.LinesOf("OnRequestEnd").size() == 1; }));
        EXPECT_EQ(nextCalls.LinesOf("OnError"), Lines());
        EXPECT_EQ(next.GetDataStorage()->AsString(0, 0, 0, std::locale::classic()), "0");
    }

    TempFolder folder;
    const std::string name;
    qxdb::Connection observer;
    const qxdbsrd::ConnectionDefElement def;
    ConnectionRequestCallbackPtr lender;
    RecordingCallbacks calls;
    std::unique_ptr<OpenDirector> director;
};

TEST_F(SQLiteCancelTest, WhileRowsArrive) {
    Execute(numbers + "select i from n");
    ASSERT_TRUE(Eventually([this] { return RowsSoFar() >= 1000; }));
    CancelAndWait();
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    const int rows = store->GetNumberOfRows(0);
    EXPECT_GE(rows, 1000);
    for (const int row : {0, 999, rows - 1})
        EXPECT_EQ(store->AsString(0, row, 0, std::locale::classic()), std::to_string(row + 1));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    ExpectConnectionUsable();
}

TEST_F(SQLiteCancelTest, WhileTheServerWorksOnTheNextRow) {
    Execute("select 1 union all select count(*) from (" + numbers + "select i from n)");
    ASSERT_TRUE(Eventually([this] { return RowsSoFar() == 1; }));
    CancelAndWait();
    EXPECT_EQ(RowsSoFar(), 1);
    ExpectConnectionUsable();
}

TEST_F(SQLiteCancelTest, WhileTheServerExecutes) {
    Execute("insert into t " + numbers + "select count(*) from n");
    ASSERT_TRUE(Eventually([this] { return IsWriting(); }));
    CancelAndWait();
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_EQ(qxtest::Rows(observer, "select count(*) from t"), (std::vector<std::string>{"0"}));
    ExpectConnectionUsable();
}

TEST_F(SQLiteCancelTest, ByTheDirectorThatGoes) {
    Execute("insert into t " + numbers + "select count(*) from n");
    ASSERT_TRUE(Eventually([this] { return IsWriting(); }));
    const auto begin = std::chrono::steady_clock::now();
    director.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_TRUE(Eventually([this] { return !IsWriting(); }));
    ExpectConnectionUsable();
}

}  // namespace
