#include "batch/batch_processor.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "batch/batch_support.h"
#include "platform/qxutils/lock_fault.h"

namespace qxtest {
namespace {

std::unique_ptr<QXDBBatchProcessor> Process(const std::string& text = "script", double version = 9.2) {
    return std::make_unique<QXDBBatchProcessor>(qxdb::DBTYPE_ORACLE, version, text, false, "", true, false);
}

Lines Statements(QXDBBatchProcessor& processor) {
    Lines statements;
    BatchInfo info;
    while (processor.RetrieveBatch(info))
        statements.push_back(Narrow(info.statement));
    return statements;
}

// "0xcode text", or "none".
std::string FailureOf(const QXDBBatchProcessor& processor) {
    HRESULT code = S_OK;
    std::string reason;
    if (!processor.GetFailure(code, reason))
        return "none";
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X ", static_cast<unsigned int>(code));
    return number + reason;
}

void WaitUntilComplete(const QXDBBatchProcessor& processor) {
    for (int i = 0; i < 10000 && !processor.ProcessingComplete(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_TRUE(processor.ProcessingComplete());
}

TEST(BatchProcessorTest, HandsTheArgumentsOn) {
    FakeParser parser;
    parser.Completes();
    const ScriptFile file;
    {
        QXDBBatchProcessor processor(qxdb::DBTYPE_DB2, 7.01, file.Path(), true, "@", false, true);
        EXPECT_EQ(Statements(processor), Lines());
    }
    EXPECT_EQ(parser.Arguments(), (Lines{file.Path(), "", "DB271", "@"}));
    EXPECT_FALSE(file.Exists());
}

TEST(BatchProcessorTest, StatementsComeWhileTheParserGoesOn) {
    FakeParser parser;
    qxutils::Event taken(false, false, "");
    taken.SetTimeout(10000);
    parser.Puts("a").Does([&] { EXPECT_TRUE(taken.Lock()); }).Puts("b").Completes();
    const auto processor = Process();
    BatchInfo info;
    ASSERT_TRUE(processor->RetrieveBatch(info));
    EXPECT_EQ(Narrow(info.statement), "a");
    EXPECT_FALSE(processor->ProcessingComplete());
    taken.SetEvent();
    ASSERT_TRUE(processor->RetrieveBatch(info));
    EXPECT_EQ(Narrow(info.statement), "b");
    EXPECT_FALSE(processor->RetrieveBatch(info));
    EXPECT_TRUE(processor->ProcessingComplete());
    EXPECT_FALSE(processor->RetrieveBatch(info));
    EXPECT_EQ(FailureOf(*processor), "none");
}

TEST(BatchProcessorTest, EmptyScriptEndsByTheSignalOfTheEnd) {
    FakeParser parser;
    // The reader asks whether the parser is done, then for the number of statements, and then waits.
    LockWatcher readerWaits(2);
    parser.Does([&] { EXPECT_TRUE(readerWaits.Wait()); }).Completes();
    const DebugTexts debug;
    const auto processor = Process("");
    readerWaits.WatchThisThread();
    BatchInfo info;
    EXPECT_FALSE(processor->RetrieveBatch(info));
    EXPECT_EQ(debug.Texts(), (Lines{"===>SetEvent occured on processing complete.\r\n"}));
    EXPECT_FALSE(processor->RetrieveBatch(info));
    EXPECT_EQ(debug.Texts().size(), 1U);
}

TEST(BatchProcessorTest, StatementsBehindTheEndOfTheParseAreDrained) {
    FakeParser parser;
    parser.Puts("a").Puts("b").Completes();
    const DebugTexts debug;
    const auto processor = Process();
    WaitUntilComplete(*processor);
    EXPECT_EQ(Statements(*processor), (Lines{"a", "b"}));
    EXPECT_EQ(debug.Texts(), Lines());
}

// The failure is there when the end is, though the parser tells the end first.
TEST(BatchProcessorTest, EndWaitsForHowTheParseWent) {
    for (const bool readsFirst : {true, false}) {
        FakeParser parser;
        qxutils::Event ended(false, false, "");
        ended.SetTimeout(10000);
        parser.Puts("a")
            .Completes()
            .Does([&] {
                ended.SetEvent();
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            })
            .Fails(E_FAIL, "the rest is missing");
        const auto processor = Process();
        if (!readsFirst) {
            EXPECT_TRUE(ended.Lock());
        }
        EXPECT_EQ(Statements(*processor), (Lines{"a"}));
        EXPECT_EQ(FailureOf(*processor), "0x80004005 the rest is missing");
    }
}

TEST(BatchProcessorTest, SilentParserEndsTheScript) {
    EXPECT_EQ(qxbatch::limits.silenceMs, 300000);
    const ScopedLimits limits(50, 100, 1 << 20);
    FakeParser parser;
    parser.Puts("a").WaitsForCancel();
    const DebugTexts debug;
    const auto processor = Process();
    EXPECT_EQ(Statements(*processor), (Lines{"a"}));
    EXPECT_EQ(debug.Texts(), (Lines{"Unable to acquire lock!"}));
    EXPECT_EQ(FailureOf(*processor), "0x8001011F The script parser was silent for 50 ms.");
    EXPECT_FALSE(processor->ProcessingComplete());
}

TEST(BatchProcessorTest, TimeOutIsBetweenTwoStatements) {
    const ScopedLimits limits(400, 100, 1 << 20);
    FakeParser parser;
    for (int i = 0; i < 6; ++i)
        parser.Does([] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }).Puts("x");
    parser.Completes();
    const auto processor = Process();
    EXPECT_EQ(Statements(*processor), Lines(6, "x"));
    EXPECT_EQ(FailureOf(*processor), "none");
}

TEST(BatchProcessorTest, UnknownVersionTimesOut) {
    const ScopedLimits limits(20, 100, 1 << 20);
    FakeParser parser;
    parser.Puts("never").Completes();
    const DebugTexts debug;
    const auto processor = Process("script", -1.0);
    EXPECT_EQ(Statements(*processor), Lines());
    EXPECT_EQ(debug.Texts(), (Lines{"Unable to acquire lock!"}));
    EXPECT_EQ(parser.Calls(), Lines());
    EXPECT_EQ(FailureOf(*processor),
              "0x8001011F The script was not read, because the version of the server is not known.");
}

TEST(BatchProcessorTest, CancelEndsTheWaitForAScriptThatIsNeverRead) {
    FakeParser parser;
    const auto processor = Process("script", -1.0);
    std::thread canceller([&] { processor->Cancel(); });
    EXPECT_EQ(Statements(*processor), Lines());
    canceller.join();
    BatchInfo info;
    EXPECT_FALSE(processor->RetrieveBatch(info));
    EXPECT_EQ(FailureOf(*processor), "none");
}

TEST(BatchProcessorTest, ParserFailuresAreKnownToWhoAsks) {
    FakeParser parser;
    parser.Puts("a").Fails(E_FAIL, "line 2 is no text");
    const auto processor = Process();
    EXPECT_EQ(Statements(*processor), (Lines{"a"}));
    EXPECT_TRUE(processor->ProcessingComplete());
    EXPECT_EQ(FailureOf(*processor), "0x80004005 line 2 is no text");
}

TEST(BatchProcessorTest, UnregisteredClass) {
    const auto processor = Process();
    EXPECT_EQ(Statements(*processor), Lines());
    EXPECT_EQ(FailureOf(*processor), "0x80040154 There is no script parser. Failure code 0x80040154");
}

TEST(BatchProcessorTest, ProcedureCalls) {
    using Values = std::list<std::string>;
    const struct {
        const char* text;
        bool isCall;
        const char* statement;
        Values values;
    } cases[] = {
        {"exec p", false, "exec p", {}},
        {"exec p(1", false, "exec p(1", {}},
        {"exec p(1) x", false, "exec p(1) x", {}},
        {"exec p)1(", false, "exec p)1(", {}},
        {"exec p()", true, "P", {}},
        {"exec p( ) ", true, "P", {}},
        {"exec p (1, 'a,b', 'it''s', NULL, 'NULL')", true, "P", {"1", "a,b", "it's", "NULL", "'NULL'"}},
        {"p(1)", true, "", {"1"}},
        {"exec \"Owner\".proc(1)", true, "\"Owner\".PROC", {"1"}},
        {"exec scott.\"my proc\"(1)", true, "SCOTT.\"my proc\"", {"1"}},
        {"call a.b('x (y) z', ?)", true, "A.B", {"x (y) z", "?"}},
    };
    FakeParser parser;
    for (const auto& one : cases)
        parser.Puts(Item(one.text).Procedure().Line(7).End(8));
    parser.Puts("exec q(1)").Completes();
    const auto processor = Process();
    BatchInfo info;
    for (const auto& one : cases) {
        ASSERT_TRUE(processor->RetrieveBatch(info));
        EXPECT_EQ(info.isProcedureCall, one.isCall) << one.text;
        EXPECT_EQ(Narrow(info.statement), one.statement) << one.text;
        EXPECT_EQ(info.parameters, one.values) << one.text;
        EXPECT_EQ(info.itemValue, 7);
        EXPECT_EQ(info.parserValue, 8);
    }
    // What the parser does not mark is left alone.
    ASSERT_TRUE(processor->RetrieveBatch(info));
    EXPECT_EQ(Narrow(info.statement), "exec q(1)");
    EXPECT_FALSE(info.isProcedureCall);
    EXPECT_TRUE(info.parameters.empty());
}

TEST(BatchProcessorTest, CancelWakesTheReader) {
    FakeParser parser;
    parser.WaitsForCancel();
    const auto processor = Process();
    ASSERT_TRUE(parser.WaitForCall("ParseText"));
    std::thread canceller([&] { processor->Cancel(); });
    EXPECT_EQ(Statements(*processor), Lines());
    canceller.join();
    EXPECT_EQ(FailureOf(*processor), "none");
}

TEST(BatchProcessorTest, CancelWakesTheReaderAlsoWhenTheParserCantBeStopped) {
    FakeParser parser;
    qxutils::Event proceed(true, false, "");
    proceed.SetTimeout(10000);
    parser.Does([&] { EXPECT_TRUE(proceed.Lock()); }).Completes();
    auto processor = Process();
    ASSERT_TRUE(parser.WaitForCall("ParseText"));
    std::thread canceller([&] { processor->Cancel(); });
    EXPECT_EQ(Statements(*processor), Lines());
    canceller.join();
    EXPECT_FALSE(processor->ProcessingComplete());
    proceed.SetEvent();
    processor.reset();
}

TEST(BatchProcessorTest, DestructionStopsAParserThatWaits) {
    const ScopedLimits limits(300000, 3, 1 << 20);
    FakeParser parser;
    parser.Puts(1000, "x").Completes();
    auto processor = Process();
    ASSERT_TRUE(parser.WaitForPuts(3));
    processor.reset();
    EXPECT_EQ(parser.PutResults().back(), E_ABORT);
    // It may have ended by that answer before it could be cancelled.
    Lines calls = parser.Calls();
    calls.erase(std::remove(calls.begin(), calls.end(), "CancelParse"), calls.end());
    EXPECT_EQ(calls, (Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise", "parser gone",
                            "factory gone"}));
}

TEST(BatchProcessorTest, DestructionAtOnce) {
    for (int i = 0; i < 200; ++i) {
        FakeParser parser;
        parser.Puts("a").WaitsForCancel();
        Process().reset();
        const Lines calls = parser.Calls();
        ASSERT_GE(calls.size(), 2U);
        EXPECT_EQ(calls.back(), "factory gone");
    }
}

TEST(BatchProcessorTest, FloodWithASlowReader) {
    const ScopedLimits limits(300000, 8, 1 << 20);
    FakeParser parser;
    parser.Puts(3000, Item("x").Line(1)).Completes();
    const auto processor = Process();
    BatchInfo info;
    long line = 0;
    while (processor->RetrieveBatch(info)) {
        ASSERT_EQ(info.itemValue, ++line);
        if (line % 100 == 0)
            std::this_thread::yield();
    }
    EXPECT_EQ(line, 3000);
    EXPECT_EQ(FailureOf(*processor), "none");
}

// Refuses the n-th lock that anybody asks for.
class RefuseNth : public qxutils::LockFaultInjector {
  public:
    explicit RefuseNth(int which) : left(which) { qxutils::SetLockFaultInjector(this); }
    ~RefuseNth() override { qxutils::SetLockFaultInjector(nullptr); }
    bool RefuseLock(const void*) override { return --left == 0; }
    bool Refused() const { return left <= 0; }

  private:
    std::atomic<int> left;
};

// Whichever lock is refused, the script ends, the thread is gone and the file is deleted.
TEST(BatchProcessorTest, EveryRefusedLockEndsInOrder) {
    const ScopedLimits limits(2000, 2, 1 << 20);
    int refusals = 0;
    for (int n = 1;; ++n) {
        FakeParser parser;
        parser.Puts(6, "x").Completes();
        const ScriptFile file;
        RefuseNth injector(n);
        {
            QXDBBatchProcessor processor(qxdb::DBTYPE_ORACLE, 9.2, file.Path(), true, "", true, true);
            try {
                EXPECT_LE(Statements(processor).size(), 6U);
            } catch (const std::runtime_error& failure) {
                EXPECT_STREQ(failure.what(), "Unable to acquire lock!");
            }
        }
        EXPECT_FALSE(file.Exists()) << n;
        if (!injector.Refused())
            break;
        ++refusals;
    }
    EXPECT_GT(refusals, 20);
}

}  // namespace
}  // namespace qxtest
