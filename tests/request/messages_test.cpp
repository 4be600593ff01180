// Texts for the user: saved messages, messages of the server, and where they stand among the result sets.
#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::ResultSetMessage;
using qxdbsqlengine::ResultSetNormal;

class MessagesTest : public RequestTest {
  protected:
    // Runs `action` as the only item of a run, where the request has its handler.
    void InRun(const std::function<void()>& action) {
        request.items = [&](qxdb::Connection&) {
            action();
            return true;
        };
        EXPECT_TRUE(Run("x"));
    }
    bool BeginRows() {
        request.GetColumnDefinition().clear();
        request.GetColumnDefinition().resize(1);
        request.NotifyPreResultSetBegin(ResultSetNormal);
        return request.NotifyResultSetBegin("");
    }
};

TEST_F(MessagesTest, EachLineIsARow) {
    const struct {
        const char* text;
        Lines rows;
    } cases[] = {
        {"one", {"one"}},
        {"one\ntwo", {"one", "two"}},
        {"one\r\ntwo", {"one\r", "two"}},
        {"one\n\ntwo", {"one", "", "two"}},
        {"one\n", {"one", ""}},
        {"\none", {"", "one"}},
        {"", {""}},
    };
    for (const auto& c : cases) {
        InRun([&] {
            const int id = store->GetNumberOfResultSets();
            request.SaveNotifyMessage(c.text);
            EXPECT_EQ(Column(id), c.rows) << c.text;
            EXPECT_FALSE(request.noOutput);
            EXPECT_TRUE(request.inMessageResultSet);
            request.NotifyResultSetEnd();
        });
    }
}

TEST_F(MessagesTest, MessagesJoinTheOpenMessageResultSet) {
    InRun([&] {
        request.SaveNotifyMessage("one");
        request.SaveNotifyMessage("two");
        EXPECT_EQ(Sets(), (Lines{"2:2"}));
        EXPECT_EQ(request.GetResultSetId(), 0);
        request.NotifyResultSetEnd();
        request.SaveNotifyMessage("three");
        request.NotifyResultSetEnd();
    });
    EXPECT_EQ(calls.Lines(), (Lines{"OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
                                    "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnPreResultSetBegin 1 2",
                                    "OnResultSetBegin 1 2", "OnResultSetUpdate 1 1", "OnResultSetEnd 1"}));
}

TEST_F(MessagesTest, MessageClosesAnOpenResultSetOfRows) {
    InRun([&] {
        EXPECT_TRUE(BeginRows());
        EXPECT_FALSE(request.inMessageResultSet);
        request.SaveNotifyMessage("one");
        EXPECT_EQ(Sets(), (Lines{"0:0", "2:1"}));
        EXPECT_TRUE(request.inMessageResultSet);
        request.NotifyResultSetEnd();
        EXPECT_FALSE(request.inMessageResultSet);
    });
}

TEST_F(MessagesTest, ProgressOfMessagesGoesByFixedNumbers) {
    request.SetInitialRowInterval(1);
    request.SetRowInterval(1);
    InRun([&] {
        std::string text = "0";
        for (int i = 1; i < 430; ++i)
            text += "\n" + std::to_string(i);
        request.SaveNotifyMessage(text);
        EXPECT_EQ(Sets(), (Lines{"2:430"}));
        // The first 25 rows, then rows 25, 225 and 425; each time the number 0.
        ASSERT_EQ(request.updates.size(), 28U);
        for (const auto& update : request.updates) {
            EXPECT_EQ(update.first, 0);
            EXPECT_FALSE(update.second);
        }
        request.NotifyResultSetEnd();
        EXPECT_EQ(request.updates.back(), std::make_pair(430, true));
    });
}

TEST_F(MessagesTest, NothingIsSavedForACancelledRequest) {
    InRun([&] {
        request.Cancel();
        EXPECT_THROW(request.SaveNotifyMessage("one"), qxdbsqlengine::CancelledException);
    });
    EXPECT_EQ(Sets(), Lines());
}

TEST_F(MessagesTest, WithoutStoreThereIsNothingToSaveIn) {
    OpenRequest alone(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(),
                      SmartPtr<DataStorage>(), nullptr, "");
    server.Expect("x");
    alone.SetSQL("x", SQLRequest::RequestSQL, false, false);
    qxdb::Connection connection = server.Connect();
    EXPECT_TRUE(alone.Execute(Def(), connection));
    EXPECT_EQ(calls.LinesOf("OnResultSetBegin"), Lines());
    EXPECT_EQ(alone.ResolveNextLogicalResultSetId(), 0);
    alone.ClearStorage();
}

TEST_F(MessagesTest, ServerMessagesOfAStatementBecomeRowsAndErrors) {
    server.Expect("x").Message(Info("first")).Message(Info(" \n ")).Message(Info("  second  "));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnError first", "OnPreResultSetBegin 0 2",
                     "OnResultSetBegin 0 2", "OnError   second  ", "OnExecuteEnd", "OnBatchItemEnd 0 0",
                     "OnResultSetUpdate 0 2", "OnResultSetEnd 0"}));
    // They are output: the statement did not complete without.
    EXPECT_EQ(Column(0), (Lines{"first", "second"}));
}

TEST_F(MessagesTest, MessagesBeforeRowsStandBeforeThem) {
    server.Expect("x").Message(Info("before")).Returns(Rows({IntColumn("A")}, {{1}}));
    Run("x");
    EXPECT_EQ(Sets(), (Lines{"2:1", "0:1"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnError before", "OnPreResultSetBegin 0 2",
                     "OnResultSetBegin 0 2", "OnExecuteEnd", "OnResultSetUpdate 0 1", "OnResultSetEnd 0",
                     "OnPreResultSetBegin 1 0", "OnResultSetBegin 1 0", "OnResultSetUpdate 1 1",
                     "OnResultSetEnd 1", "OnBatchItemEnd 0 0"}));
}

TEST_F(MessagesTest, MessagesWhileRowsArriveWaitForTheirEnd) {
    server.Expect("x")
        .Returns(Rows({IntColumn("A")}, {{1}, {2}}).MessageAtRow(1, Info("row")).MessageAtRow(2, Info("end")))
        .Returns(Rows({TextColumn("B")}, {{"x"}}));
    Run("x");
    EXPECT_EQ(Sets(), (Lines{"0:2", "2:2", "0:1"}));
    EXPECT_EQ(Column(1), (Lines{"row", "end"}));
    EXPECT_EQ(Column(2), (Lines{"x"}));
    EXPECT_EQ(store->GetColumnLabel(2, 0), "B");
    EXPECT_EQ(
        calls.Lines(),
        (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
               "OnResultSetBegin 0 0", "OnResultSetUpdate 0 2", "OnResultSetEnd 0", "OnError row",
               "OnPreResultSetBegin 1 2", "OnResultSetBegin 1 2", "OnError end", "OnResultSetUpdate 1 2",
               "OnResultSetEnd 1", "OnPreResultSetBegin 2 0", "OnResultSetBegin 2 0", "OnResultSetUpdate 2 1",
               "OnResultSetEnd 2", "OnBatchItemEnd 0 0"}));
}

TEST_F(MessagesTest, MessagesBehindTheRowsStandBehindThem) {
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}})).MessageAfter(Info("done"));
    Run("x");
    EXPECT_EQ(Sets(), (Lines{"0:1", "2:1"}));
    EXPECT_EQ(Column(1), (Lines{"done"}));
}

TEST_F(MessagesTest, MessagesWhileColumnsAreDescribedDoNotDisturbThem) {
    server.Expect("x").Returns(Rows({IntColumn("A"), TextColumn("B")}, {{1, "x"}}));
    qxdb::Connection connection = server.Connect();
    request.handlerActions["DetermineColumnDefs"] = [&] {
        static_cast<qxdb::Callback&>(*request.GetHandler()).HandleRawMessage(Info("described"));
    };
    request.SetSQL("x", SQLRequest::RequestSQL, false, false);
    EXPECT_TRUE(request.Execute(Def(), connection));
    EXPECT_EQ(Sets(), (Lines{"2:1", "0:1"}));
    EXPECT_EQ(Column(0), (Lines{"described"}));
    EXPECT_EQ(RowOf(1), (Lines{"1", "x"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnError described", "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2",
                     "OnResultSetUpdate 0 1", "OnResultSetEnd 0", "OnResultSetBegin 1 0",
                     "OnResultSetUpdate 1 1", "OnResultSetEnd 1", "OnBatchItemEnd 0 0"}));
}

TEST_F(MessagesTest, MessageResultSetStaysOpenAcrossItems) {
    server.Expect("a").Message(Info("one"));
    server.Expect("b").Message(Info("two"));
    server.Expect("c").Returns(Rows({IntColumn("A")}, {{1}}));
    request.items = [&](qxdb::Connection& connection) {
        for (const char* const sql : {"a", "b", "c"}) {
            request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
            EXPECT_TRUE(request.ExecuteBatchItem(connection));
        }
        return true;
    };
    EXPECT_TRUE(Run("a"));
    EXPECT_EQ(Sets(), (Lines{"2:2", "0:1"}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnError one",          "OnPreResultSetBegin 0 2",
                                    "OnResultSetBegin 0 2", "OnExecuteEnd",
                                    "OnBatchItemEnd 0 0",   "OnBatchItemBegin 1 0",
                                    "OnExecuteBegin",       "OnError two",
                                    "OnExecuteEnd",         "OnBatchItemEnd 1 0",
                                    "OnBatchItemBegin 2 0", "OnExecuteBegin",
                                    "OnExecuteEnd",         "OnResultSetUpdate 0 2",
                                    "OnResultSetEnd 0",     "OnPreResultSetBegin 1 0",
                                    "OnResultSetBegin 1 0", "OnResultSetUpdate 1 1",
                                    "OnResultSetEnd 1",     "OnBatchItemEnd 2 0"}));
}

TEST_F(MessagesTest, EmptyResultSetLetsHeldMessagesGo) {
    InRun([&] {
        request.GetHandler()->CacheNotifyMessages(true, false);
        request.GetHandler()->HandleInformationNotify("held");
        request.HandleEmptyResultSet();
        EXPECT_EQ(Column(0), (Lines{"held"}));
        EXPECT_FALSE(request.GetHandler()->HasCachedNotifyMessages());
        request.NotifyResultSetEnd();
    });
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
}

TEST_F(MessagesTest, EmptyResultSetKeepsHeldMessagesWhileRowsAreOpen) {
    InRun([&] {
        BeginRows();
        request.GetHandler()->HandleInformationNotify("held");
        request.HandleEmptyResultSet();
        EXPECT_TRUE(request.GetHandler()->HasCachedNotifyMessages());
        EXPECT_EQ(Sets(), (Lines{"0:0"}));
        request.NotifyResultSetEnd();
        EXPECT_EQ(Sets(), (Lines{"0:0", "2:1"}));
        request.NotifyResultSetEnd();
    });
}

TEST_F(MessagesTest, HeldMessagesComeBeforeTheExplainTest) {
    request.SetDoExplainPlan(true);
    InRun([&] {
        request.GetHandler()->CacheNotifyMessages(true, false);
        request.GetHandler()->HandleInformationNotify("held");
        request.HandleEmptyResultSet();
        EXPECT_EQ(Column(0), (Lines{"held"}));
        request.NotifyResultSetEnd();
        request.HandleEmptyResultSet();
        EXPECT_EQ(Sets(), (Lines{"2:1"}));
    });
}

TEST_F(MessagesTest, ObjectErrorsHaveNoCompletionMessageOnOracle) {
    request.SetFetchObjectErrors(true);
    server.Expect("x");
    Run(qxdb::DBTYPE_ORACLE, "x");
    EXPECT_EQ(Sets(), Lines());
    server.Expect("x");
    Run(qxdb::DBTYPE_OTHER, "x");
    EXPECT_EQ(Column(0), (Lines{"The command completed with no results returned"}));
}

TEST_F(MessagesTest, BeginWithDefinitionsTakesThemOver) {
    InRun([&] {
        std::vector<qxdbsqlengine::ColumnDefinition> definitions(2);
        definitions[0].columnLabel = "A";
        definitions[1].columnLabel = "B";
        definitions[1].dataType = qxdbsqlengine::DataTypeInt;
        request.SaveNotifyMessage("before");
        request.SetResultSetType(qxdbsqlengine::ResultSetStatistics);
        EXPECT_TRUE(request.NotifyResultSetBegin(definitions, "tag"));
        EXPECT_EQ(Sets(), (Lines{"2:1", "6:0"}));
        EXPECT_EQ(store->GetColumnLabel(1, 1), "B");
        EXPECT_EQ(store->GetTagName(1), "tag");
        // The request's own definitions may be given as well.
        EXPECT_TRUE(request.NotifyResultSetBegin(request.GetColumnDefinition(), nullptr));
        EXPECT_EQ(store->GetNumberOfColumns(2), 2);
        EXPECT_EQ(store->GetTagName(2), "");
        request.NotifyResultSetEnd();
    });
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"),
              (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1", "OnResultSetEnd 2"}));
}

TEST_F(MessagesTest, HeldMessagesAreLetGoBeforeTheNextResultSetBegins) {
    InRun([&] {
        BeginRows();
        request.GetHandler()->HandleInformationNotify("held");
        EXPECT_TRUE(BeginRows());
        EXPECT_EQ(request.GetResultSetId(), 2);
        EXPECT_EQ(request.GetResultSetType(), ResultSetNormal);
        request.NotifyResultSetEnd();
    });
    EXPECT_EQ(Sets(), (Lines{"0:0", "2:1", "0:0"}));
    EXPECT_EQ(calls.Lines(), (Lines{"OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0", "OnError held",
                                    "OnResultSetUpdate 0 0", "OnResultSetEnd 0", "OnPreResultSetBegin 1 2",
                                    "OnResultSetBegin 1 2", "OnResultSetUpdate 1 1", "OnResultSetEnd 1",
                                    "OnPreResultSetBegin 2 0", "OnResultSetBegin 2 0",
                                    "OnResultSetUpdate 2 0", "OnResultSetEnd 2"}));
}

TEST_F(MessagesTest, MessageResultSetHoldsNothingBack) {
    InRun([&] {
        request.SaveNotifyMessage("one");
        request.GetHandler()->HandleInformationNotify("two");
        EXPECT_EQ(Column(0), (Lines{"one", "two"}));
        // What is held back in spite of that comes into it at its end.
        request.GetHandler()->CacheNotifyMessages(true, false);
        request.GetHandler()->HandleInformationNotify("three");
        request.NotifyResultSetEnd();
        EXPECT_EQ(Column(0), (Lines{"one", "two", "three"}));
        EXPECT_FALSE(request.inResultSet);
    });
    EXPECT_EQ(Sets(), (Lines{"2:3"}));
}

TEST_F(MessagesTest, EndWithoutAnOpenResultSetOnlyLetsMessagesGo) {
    InRun([&] {
        request.NotifyResultSetEnd();
        EXPECT_EQ(calls.Lines(), Lines());
        request.GetHandler()->CacheNotifyMessages(true, false);
        request.GetHandler()->HandleInformationNotify("held");
        request.NotifyResultSetEnd();
        EXPECT_EQ(Column(0), (Lines{"held"}));
        EXPECT_TRUE(request.inResultSet);
        EXPECT_EQ(request.GetResultSetId(), 0);
        request.NotifyResultSetEnd();
        EXPECT_EQ(request.GetResultSetId(), 1);
    });
}

TEST_F(MessagesTest, NewRequestOverAFilledStoreNumbersOnFromThere) {
    store->AddResultSet(std::vector<qxdbsqlengine::ColumnDefinition>(1), ResultSetNormal);
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{1}}));
    Run("x");
    EXPECT_EQ(calls.LinesOf("OnPre"), (Lines{"OnPreResultSetBegin 1 0"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetBegin"), (Lines{"OnResultSetBegin 1 0"}));
}

}  // namespace
}  // namespace qxtest
