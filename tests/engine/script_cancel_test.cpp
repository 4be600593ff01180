// Scripts that are cancelled: the reading of the script stops first, then the statement.
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>

#include "cancel_support.h"
#include "support/fake_parser.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;

class ScriptCancelTest : public CancelTest {
  protected:
    ScriptCancelTest() {
        parser.At("CancelParse", [this] {
            NoteStop("parser");
            return S_OK;
        });
        server.OnCancel([this] { NoteStop("statement"); });
    }
    void StartScript() {
        request->SetSQL("the script", SQLRequest::RequestScript, false, false);
        director->Execute();
    }
    // What was stopped, in order. The end of the run may stop a parser again that is slow to heed.
    Lines Stops() const {
        const std::lock_guard<std::mutex> guard(stopsMutex);
        Lines firsts;
        for (const std::string& stop : stops) {
            if (std::find(firsts.begin(), firsts.end(), stop) == firsts.end())
                firsts.push_back(stop);
        }
        return firsts;
    }
    void ExpectParserGone() {
        EXPECT_TRUE(parser.WaitForCall("parser gone"));
        EXPECT_TRUE(parser.WaitForCall("factory gone"));
    }

    FakeParser parser;

  private:
    void NoteStop(const std::string& what) {
        const std::lock_guard<std::mutex> guard(stopsMutex);
        stops.push_back(what);
    }

    mutable std::mutex stopsMutex;
    Lines stops;  // guarded by stopsMutex
};

TEST_F(ScriptCancelTest, ParserStopsBeforeTheStatement) {
    parser.Puts("xx").WaitsForCancel();
    server.Expect("xx").Hangs();
    StartScript();
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(Stops(), (Lines{"parser", "statement"}));
    EXPECT_FALSE(CountsAsRunning());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnBatchItemBegin 0 0", "OnExecuteBegin",
                                    "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    ExpectParserGone();
}

TEST_F(ScriptCancelTest, ParserThatIsDoneIsLeftAlone) {
    parser.Puts("xx").Completes();
    server.Expect("xx").Hangs();
    StartScript();
    ASSERT_TRUE(server.WaitForHang());
    ASSERT_TRUE(parser.WaitForCall("Unadvise"));
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(Stops(), (Lines{"statement"}));
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
}

TEST_F(ScriptCancelTest, WhileNoItemIsThereYet) {
    parser.WaitsForCancel();
    StartScript();
    ASSERT_TRUE(parser.WaitForCall("ParseText"));
    EXPECT_TRUE(director->Cancel());
    EXPECT_EQ(Stops(), (Lines{"parser"}));
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnRequestEnd"}));
    ExpectParserGone();
}

TEST_F(ScriptCancelTest, BetweenItems) {
    parser.Puts(Item("xx").Line(1)).Puts(Item("yy").Line(2)).WaitsForCancel();
    server.Expect("xx").Returns(Rows({TextColumn("A")}, {{"a"}}));
    AtLine("OnBatchItemEnd 0 0", [this] { EXPECT_TRUE(director->Cancel()); });
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    StartScript();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(server.Executed(), (Lines{"xx"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnRequestBegin", "OnBatchItemBegin 0 1", "OnExecuteBegin", "OnExecuteEnd",
                     "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0", "OnResultSetUpdate 0 1",
                     "OnResultSetEnd 0", "OnBatchItemEnd 0 0", "OnRequestEnd"}));
    EXPECT_EQ(Column(store), (Lines{"a"}));
    ExpectParserGone();
}

TEST_F(ScriptCancelTest, WithinALaterItem) {
    parser.Puts(100, Item("xx").Line(1)).WaitsForCancel();
    server.Expect("xx");
    server.Expect("xx");
    server.Expect("xx").Hangs();
    StartScript();
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(server.Executed(), (Lines{"xx", "xx", "xx"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemBegin"),
              (Lines{"OnBatchItemBegin 0 1", "OnBatchItemBegin 1 2", "OnBatchItemBegin 2 3"}));
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd").size(), 3U);
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    ExpectParserGone();
}

TEST_F(ScriptCancelTest, DirectorGoes) {
    parser.Puts("xx").WaitsForCancel();
    server.Expect("xx").Hangs();
    StartScript();
    ASSERT_TRUE(server.WaitForHang());
    director.reset();
    EXPECT_EQ(Stops(), (Lines{"parser", "statement"}));
    EXPECT_TRUE(WaitUntilNobodyIsLeft());
    ExpectParserGone();
}

class ScriptCancelFailedTest : public CancelFailedTest {
  protected:
    FakeParser parser;
};

TEST_F(ScriptCancelFailedTest, StatementThatDoesNotEnd) {
    parser.Puts("xx").WaitsForCancel();
    server.Expect("xx").Hangs(false);
    request->SetSQL("the script", SQLRequest::RequestScript, false, false);
    director->Execute();
    ASSERT_TRUE(server.WaitForHang());
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_EQ(calls.LinesOf("OnError").size(), 1U);
    EXPECT_EQ(calls.LinesOf("OnRequestEnd"), Lines());
    server.Release();
    ASSERT_TRUE(WaitEnd());
    EXPECT_TRUE(parser.WaitForCall("parser gone"));
}

// A parser that heeds no cancel keeps the run as a driver does.
TEST_F(ScriptCancelFailedTest, ParserThatDoesNotEnd) {
    const Gate gate;
    parser.Does([gate] { gate.Pass(); });
    request->SetSQL("the script", SQLRequest::RequestScript, false, false);
    director->Execute();
    ASSERT_TRUE(gate.WaitForArrivals(1));
    EXPECT_TRUE(director->Cancel());
    ASSERT_TRUE(WaitForLine("OnCancelFailed"));
    EXPECT_EQ(calls.Lines(), (Lines{"OnRequestBegin", "OnError " + NotRespondedText(), "OnCancelFailed"}));
    gate.Open();
    ASSERT_TRUE(WaitEnd());
    EXPECT_EQ(calls.LinesOf("OnError").size(), 1U);
}

}  // namespace
