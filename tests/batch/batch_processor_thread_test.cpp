#include "batch/batch_processor_thread.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>

#include "batch/batch_support.h"
#include "batch/module.h"
#include "platform/qxutils/lock_fault.h"

namespace qxtest {
namespace {

using qxutils::Event;
using qxutils::Thread;

class OpenThread : public QXDBBatchProcessorThread {
  public:
    using QXDBBatchProcessorThread::GetParser;
    using QXDBBatchProcessorThread::Run;
};

class BatchThreadTest : public ::testing::Test {
  protected:
    BatchThreadTest() { available.SetTimeout(10000); }
    ~BatchThreadTest() override {
        if (thread) {
            thread->Cancel();
            thread->WaitForExit(Thread::NoLimit);
        }
    }

    void Make(const std::string& text, bool isFile = false, qxdb::DBTYPE type = qxdb::DBTYPE_ORACLE,
              const std::string& separator = "", bool generic = true, bool deleteFile = false,
              double version = 9.2) {
        thread = std::make_unique<qxos::CComObject<OpenThread>>();
        thread->SetParameters(type, version, text, isFile, separator, generic, deleteFile);
    }
    void Start() { thread->StartProcessing(available); }
    // Reads to the end; the statements.
    Lines Drain() {
        Lines statements;
        for (;;) {
            const bool complete = thread->IsProcessingComplete();
            if (thread->GetBatchCount() != 0) {
                BatchInfo info;
                thread->GetBatch(info);
                statements.push_back(Narrow(info.statement));
            } else if (complete) {
                return statements;
            } else if (!available.Lock()) {
                ADD_FAILURE() << "no signal";
                return statements;
            }
        }
    }
    Lines RunToEnd() {
        Start();
        const Lines statements = Drain();
        EXPECT_TRUE(thread->WaitForExit(10000));
        return statements;
    }
    // "0xcode text", or "none".
    std::string Failure() const {
        HRESULT code = S_OK;
        std::string reason;
        if (!thread->GetFailure(code, reason))
            return "none";
        char number[16];
        std::snprintf(number, sizeof number, "0x%08X ", static_cast<unsigned int>(code));
        return number + reason;
    }

    FakeParser parser;
    Event available{false, false, ""};
    std::unique_ptr<qxos::CComObject<OpenThread>> thread;
};

TEST_F(BatchThreadTest, CourseOfAParse) {
    parser.Puts("select 1").Puts("select 2").Completes();
    Make("the script");
    EXPECT_EQ(thread->GetStatus(), Thread::StatusNotStarted);
    EXPECT_EQ(RunToEnd(), (Lines{"select 1", "select 2"}));
    EXPECT_EQ(parser.Calls(), (Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise"}));
    EXPECT_EQ(parser.Arguments(), (Lines{"the script", "sql", "Generic:1", "/"}));
    EXPECT_EQ(parser.PutResults(), (std::vector<HRESULT>{S_OK, S_OK}));
    EXPECT_EQ(thread->GetStatus(), Thread::StatusEnded);
    EXPECT_EQ(Failure(), "none");
    thread.reset();
    EXPECT_EQ(parser.Calls(), (Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise", "parser gone",
                                     "factory gone"}));
}

TEST_F(BatchThreadTest, FileIsParsedByName) {
    parser.Puts("x").Completes();
    Make("/tmp/a b.sql", true, qxdb::DBTYPE_SYBASE);
    EXPECT_EQ(RunToEnd(), (Lines{"x"}));
    EXPECT_EQ(parser.Calls()[3], "ParseFile");
    EXPECT_EQ(parser.Arguments(), (Lines{"/tmp/a b.sql", "", "Generic:0", "go"}));
}

TEST_F(BatchThreadTest, BytesOfTextAndFileNameReachTheParserWhole) {
    parser.Completes();
    constexpr char given[] = "select '\xE9\xFF\xC3\xA9\xF0\x9F\x98\x80'\0 from t";
    const std::string bytes(given, sizeof given - 1);
    for (const bool isFile : {false, true}) {
        Make(bytes, isFile);
        RunToEnd();
        EXPECT_EQ(parser.Arguments()[0], bytes);
        thread.reset();
    }
}

TEST_F(BatchThreadTest, SeparatorOfTheCallerWins) {
    const struct {
        qxdb::DBTYPE type;
        const char* given;
        const char* passed;
    } cases[] = {
        {qxdb::DBTYPE_ORACLE, "", "/"},
        {qxdb::DBTYPE_ORACLE, "@", "@"},
        {qxdb::DBTYPE_SYBASE, "", "go"},
        {qxdb::DBTYPE_SYBASE, "GO;", "GO;"},
        {qxdb::DBTYPE_SQLSERVER, "", "go"},
        {qxdb::DBTYPE_DB2, "", ";"},
        {qxdb::DBTYPE_DB2, "!", "!"},
        {qxdb::DBTYPE_DB2OS390, "", ";"},
        {qxdb::DBTYPE_MYSQL, "", ";"},
        {qxdb::DBTYPE_MYSQL, "$$", "$$"},
        {qxdb::DBTYPE_OTHER, "", ""},
        {qxdb::DBTYPE_OTHER, "\xC2\xA7", "\xC2\xA7"},
        {static_cast<qxdb::DBTYPE>(8), "", ";"},
    };
    parser.Completes();
    for (const auto& one : cases) {
        Make("", false, one.type, one.given);
        RunToEnd();
        EXPECT_EQ(parser.Arguments()[3], one.passed) << one.type;
        thread.reset();
    }
}

TEST_F(BatchThreadTest, ParserNameComesFromServerVersionAndSetting) {
    const struct {
        qxdb::DBTYPE type;
        double version;
        bool generic;
        const char* name;
    } cases[] = {
        {qxdb::DBTYPE_DB2, 8.0, true, "Generic:1"},
        {qxdb::DBTYPE_DB2, 8.0, false, "DB28"},
        {qxdb::DBTYPE_DB2, 7.02, false, "DB272"},
        {qxdb::DBTYPE_DB2OS390, 7.0, true, "DB2OS390Generic:1"},
        {qxdb::DBTYPE_DB2OS390, 7.0, false, "DB2OS3907"},
        {qxdb::DBTYPE_ORACLE, 8.17, false, "Oracle9i"},
        {qxdb::DBTYPE_MYSQL, 5.0, false, "MySQLGeneric:1"},
        {qxdb::DBTYPE_SQLSERVER, 8.0, false, "Generic:0"},
    };
    parser.Completes();
    for (const auto& one : cases) {
        Make("", false, one.type, "", one.generic, false, one.version);
        RunToEnd();
        EXPECT_EQ(parser.Arguments()[2], one.name) << one.type;
        thread.reset();
    }
}

TEST_F(BatchThreadTest, FieldsAndFlags) {
    parser.Puts(Item("a").End(std::numeric_limits<long>::max()).Line(-7))
        .Puts(Item("b").Skip().Procedure(0).DataCopy(0))
        .Puts(Item("c").Skip(1).Procedure(2).DataCopy(-2))
        .Puts(Item("d").Skip(0).Procedure(-1).DataCopy(-1))
        .Puts(Item("").Line(9))
        .Completes();
    Make("");
    Start();
    ASSERT_TRUE(thread->WaitForExit(10000));
    ASSERT_EQ(thread->GetBatchCount(), 5U);
    const struct {
        const char* text;
        long end, line;
        bool skip, procedure, dataCopy;
    } cases[] = {
        {"a", std::numeric_limits<long>::max(), -7, false, false, false},
        {"b", 0, 0, true, false, false},
        {"c", 0, 0, false, false, false},
        {"d", 0, 0, false, true, true},
        {"", 0, 9, false, false, false},
    };
    for (const auto& one : cases) {
        BatchInfo info;
        info.parameters.push_back("old");
        thread->GetBatch(info);
        EXPECT_EQ(Narrow(info.statement), one.text);
        EXPECT_EQ(info.parserValue, one.end);
        EXPECT_EQ(info.itemValue, one.line);
        EXPECT_EQ(info.skip, one.skip) << one.text;
        EXPECT_EQ(info.isProcedureCall, one.procedure) << one.text;
        EXPECT_EQ(info.isDataCopy, one.dataCopy) << one.text;
        EXPECT_TRUE(info.parameters.empty());
    }
    EXPECT_EQ(thread->GetBatchCount(), 0U);
}

TEST_F(BatchThreadTest, WideTextIsKeptUnitByUnit) {
    const unsigned short text[] = {0x00E9, 0xD83D, 0xDE00, 0xDC80, 0xFFFE, 0};
    parser.Puts(Item(qxutils::wstring16(text))).Completes();
    Make("");
    Start();
    ASSERT_TRUE(thread->WaitForExit(10000));
    BatchInfo info;
    thread->GetBatch(info);
    EXPECT_EQ(info.statement, qxutils::wstring16(text));
}

// Nobody listens: the statement is kept, and the parser hears that it was in vain.
TEST_F(BatchThreadTest, SinkWithoutAnEventFails) {
    Make("");
    const unsigned short text[] = {'x', 0};
    EXPECT_EQ(thread->PutStatement(text, 1, 2, 0, 0, 0), E_FAIL);
    EXPECT_EQ(thread->PutStatement(nullptr, 1, 2, 0, 0, 0), E_FAIL);
    EXPECT_EQ(thread->GetBatchCount(), 2U);
    EXPECT_FALSE(thread->IsProcessingComplete());
    EXPECT_EQ(thread->ProcessingComplete(), E_FAIL);
    EXPECT_TRUE(thread->IsProcessingComplete());
}

TEST_F(BatchThreadTest, NegativeVersionStartsNothing) {
    for (const double version : {-1.0, -0.001}) {
        Make("", false, qxdb::DBTYPE_ORACLE, "", true, false, version);
        Start();
        EXPECT_EQ(thread->GetStatus(), Thread::StatusNotStarted);
        EXPECT_FALSE(thread->IsProcessingComplete());
        thread->Cancel();
        EXPECT_EQ(parser.Calls(), Lines());
    }
    parser.Completes();
    Make("", false, qxdb::DBTYPE_ORACLE, "", true, false, 0.0);
    EXPECT_EQ(RunToEnd(), Lines());
    EXPECT_EQ(parser.Calls().size(), 5U);
}

TEST_F(BatchThreadTest, ASecondStartDoesNothing) {
    parser.Puts("x").Completes();
    Make("");
    EXPECT_EQ(RunToEnd(), (Lines{"x"}));
    Start();
    EXPECT_EQ(thread->GetStatus(), Thread::StatusEnded);
    EXPECT_EQ(parser.Calls().size(), 5U);
    EXPECT_EQ(Failure(), "none");
    EXPECT_TRUE(thread->IsProcessingComplete());
}

// Each failure: the debug output, what was called, and what GetFailure says. All end the script.
TEST_F(BatchThreadTest, FailuresEndTheScript) {
    const struct {
        const char* call;
        bool isFile;
        std::function<HRESULT()> action;
        const char* debug;
        Lines calls;
        const char* failure;
    } cases[] = {
        {"create", false, [] { return E_OUTOFMEMORY; }, "batch_processor_thread.cpp(170): component failure",
         Lines{"create"}, "0x8007000E The script parser has failed. Failure code 0x8007000E"},
        {"create", false, [] { return S_FALSE; }, "batch_processor_thread.cpp(170): component failure",
         Lines{"create"}, "0x80004003 The script parser has failed. Failure code 0x80004003"},
        {"create", false,
         [] {
             qxos::SetComponentErrorText("no licence");
             return E_FAIL;
         },
         "batch_processor_thread.cpp(170): component failure", Lines{"create"}, "0x80004005 no licence"},
        {"create", false, []() -> HRESULT { throw std::runtime_error("bad factory"); },
         "batch_processor_thread.cpp(170): component failure", Lines{"create"}, "0x80004005 bad factory"},
        {"GetParser", false, [] { return E_NOINTERFACE; },
         "batch_processor_thread.cpp(171): component failure", Lines{"create", "GetParser"},
         "0x80004002 The script parser has failed. Failure code 0x80004002"},
        {"GetParser", false, [] { return S_FALSE; }, "batch_processor_thread.cpp(171): component failure",
         Lines{"create", "GetParser"}, "0x80004003 The script parser has failed. Failure code 0x80004003"},
        {"GetParser", false, []() -> HRESULT { throw 7; },
         "batch_processor_thread.cpp(171): component failure", Lines{"create", "GetParser"},
         "0x80004005 The script parser has failed. Failure code 0x80004005"},
        {"ParseFile", true, [] { return E_INVALIDARG; }, "batch_processor_thread.cpp(99): component failure",
         Lines{"create", "GetParser", "Advise", "ParseFile", "Unadvise"},
         "0x80070057 The script parser has failed. Failure code 0x80070057"},
        {"ParseFile", true, []() -> HRESULT { throw _com_error(E_INVALIDARG); },
         "batch_processor_thread.cpp(99): component failure",
         Lines{"create", "GetParser", "Advise", "ParseFile", "Unadvise"},
         "0x80004005 Failure code 0x80070057"},
        {"ParseText", false, [] { return E_FAIL; }, "batch_processor_thread.cpp(106): component failure",
         Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise"},
         "0x80004005 The script parser has failed. Failure code 0x80004005"},
        {"ParseText", false, []() -> HRESULT { throw std::runtime_error("lost my way"); },
         "batch_processor_thread.cpp(106): component failure",
         Lines{"create", "GetParser", "Advise", "ParseText", "Unadvise"}, "0x80004005 lost my way"},
    };
    for (const auto& one : cases) {
        FakeParser failing;
        failing.Puts("never").Completes();
        failing.At(one.call, one.action);
        const DebugTexts debug;
        Make("script", one.isFile);
        EXPECT_EQ(RunToEnd(), Lines()) << one.failure;
        EXPECT_EQ(debug.Texts(), (Lines{one.debug})) << one.failure;
        EXPECT_EQ(failing.Calls(), one.calls) << one.failure;
        EXPECT_EQ(Failure(), one.failure);
        thread.reset();
    }
}

TEST_F(BatchThreadTest, UnregisteredClassIsAnEmptyScript) {
    qxos::UnregisterComponent(CLSID_QXScriptParserFactory);
    const DebugTexts debug;
    Make("select 1");
    EXPECT_EQ(RunToEnd(), Lines());
    EXPECT_EQ(debug.Texts(), (Lines{"batch_processor_thread.cpp(170): component failure"}));
    EXPECT_EQ(Failure(), "0x80040154 There is no script parser. Failure code 0x80040154");
}

TEST_F(BatchThreadTest, ReasonOfAnEarlierFailureIsNotTold) {
    parser.At("Advise", [] {
        qxos::SetComponentErrorText("of another call");
        return S_OK;
    });
    parser.Fails(E_FAIL);
    Make("");
    RunToEnd();
    EXPECT_EQ(Failure(), "0x80004005 The script parser has failed. Failure code 0x80004005");
}

TEST_F(BatchThreadTest, FailureBehindStatementsKeepsThem) {
    parser.Puts("a").Puts("b").Fails(E_FAIL, "line 3 is no text");
    Make("");
    EXPECT_EQ(RunToEnd(), (Lines{"a", "b"}));
    EXPECT_EQ(Failure(), "0x80004005 line 3 is no text");
}

TEST_F(BatchThreadTest, FailureBehindTheEndIsAFailure) {
    parser.Puts("a").Completes().Fails(E_FAIL, "late");
    Make("");
    EXPECT_EQ(RunToEnd(), (Lines{"a"}));
    EXPECT_EQ(Failure(), "0x80004005 late");
}

TEST_F(BatchThreadTest, AdviseAndUnadviseAreNotChecked) {
    for (const char* call : {"Advise", "Unadvise"}) {
        for (const bool throws : {false, true}) {
            FakeParser odd;
            odd.Puts("x").Completes();
            odd.At(call, [throws]() -> HRESULT {
                if (throws)
                    throw std::runtime_error("odd");
                return E_FAIL;
            });
            const DebugTexts debug;
            Make("");
            EXPECT_EQ(RunToEnd(), (Lines{"x"}));
            EXPECT_EQ(debug.Texts(), Lines());
            EXPECT_EQ(Failure(), "none");
            thread.reset();
        }
    }
}

// The reader is woken although the parser never said that it is done.
TEST_F(BatchThreadTest, ParserThatForgetsTheEnd) {
    parser.Puts("x");
    Make("");
    EXPECT_EQ(RunToEnd(), (Lines{"x"}));
    EXPECT_TRUE(thread->IsProcessingComplete());
}

TEST_F(BatchThreadTest, ResultOfTheBody) {
    Make("");
    EXPECT_EQ(thread->Run(), 0);
    for (const char* call : {"create", "GetParser", "ParseText"}) {
        FakeParser failing;
        failing.At(call, [] { return E_FAIL; });
        Make("");
        EXPECT_EQ(thread->Run(), -1) << call;
        EXPECT_TRUE(thread->IsProcessingComplete());
        thread.reset();
    }
}

TEST_F(BatchThreadTest, OneSignalStandsForManyStatementsAndNoneIsLeftBehind) {
    parser.Puts("a").Puts("b").Puts("c").WaitsForCancel();
    Make("");
    Start();
    ASSERT_TRUE(parser.WaitForPuts(3));
    for (unsigned int left = 3; left > 0; --left) {
        ASSERT_TRUE(available.Lock());
        EXPECT_EQ(thread->GetBatchCount(), left);
        BatchInfo info;
        thread->GetBatch(info);
    }
    // No stale signal is left that a reader would take for the end.
    available.SetTimeout(0);
    EXPECT_FALSE(available.Lock());
}

TEST_F(BatchThreadTest, ParserWaitsForTheReader) {
    const ScopedLimits limits(300000, 10, 1 << 20);
    parser.Puts(100, "statement").Completes();
    Make("");
    Start();
    ASSERT_TRUE(parser.WaitForPuts(10));
    // Half of the room must be free before the parser goes on.
    BatchInfo info;
    for (int i = 0; i < 4; ++i)
        thread->GetBatch(info);
    EXPECT_EQ(thread->GetBatchCount(), 6U);
    EXPECT_EQ(parser.PutResults().size(), 10U);
    thread->GetBatch(info);
    ASSERT_TRUE(parser.WaitForPuts(15));
    EXPECT_EQ(thread->GetBatchCount(), 10U);
    EXPECT_EQ(Drain().size(), 95U);
    EXPECT_EQ(parser.PutResults(), std::vector<HRESULT>(100, S_OK));
    EXPECT_EQ(Failure(), "none");
}

TEST_F(BatchThreadTest, QueueIsBoundedByItsText) {
    const ScopedLimits limits(300000, 1000, 100);
    const std::string forty(20, 'x');
    const std::string huge(1000, 'y');
    parser.Puts(2, forty).Puts("small").Puts(huge).Puts("z").Completes();
    Make("");
    Start();
    // 40 + 40 + 10 bytes; the huge one waits until it is alone, and the last until it has gone.
    ASSERT_TRUE(parser.WaitForPuts(3));
    BatchInfo info;
    thread->GetBatch(info);
    thread->GetBatch(info);
    EXPECT_EQ(thread->GetBatchCount(), 1U);
    EXPECT_EQ(parser.PutResults().size(), 3U);
    thread->GetBatch(info);
    ASSERT_TRUE(parser.WaitForPuts(4));
    EXPECT_EQ(thread->GetBatchCount(), 1U);
    EXPECT_EQ(Drain(), (Lines{huge, "z"}));
}

TEST_F(BatchThreadTest, QueueOfOne) {
    const ScopedLimits limits(300000, 1, 1);
    parser.Puts(500, "statement").Completes();
    Make("");
    EXPECT_EQ(RunToEnd(), Lines(500, "statement"));
}

TEST_F(BatchThreadTest, FloodArrivesInOrder) {
    const ScopedLimits limits(300000, 16, 4096);
    for (int i = 0; i < 5000; ++i)
        parser.Puts(Item("s" + std::to_string(i)));
    parser.Completes();
    Make("");
    const Lines statements = RunToEnd();
    ASSERT_EQ(statements.size(), 5000U);
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(statements[i], "s" + std::to_string(i));
}

TEST_F(BatchThreadTest, CancelStopsTheParser) {
    parser.Puts("a").WaitsForCancel().Puts("b").Completes();
    Make("");
    Start();
    ASSERT_TRUE(parser.WaitForPuts(1));
    thread->Cancel();
    EXPECT_TRUE(thread->WaitForExit(10000));
    EXPECT_EQ(parser.Calls(),
              (Lines{"create", "GetParser", "Advise", "ParseText", "CancelParse", "Unadvise"}));
    EXPECT_EQ(Failure(), "none");
    EXPECT_TRUE(thread->IsProcessingComplete());
    // What had arrived is still there.
    EXPECT_EQ(Drain(), (Lines{"a"}));
    thread->Cancel();
    EXPECT_EQ(parser.Calls().size(), 6U);
}

TEST_F(BatchThreadTest, FailingCancelIsNoFailure) {
    for (const bool throws : {false, true}) {
        FakeParser odd;
        odd.WaitsForCancel();
        odd.At("CancelParse", [throws]() -> HRESULT {
            if (throws)
                throw std::runtime_error("odd");
            return E_FAIL;
        });
        Make("");
        Start();
        ASSERT_TRUE(odd.WaitForCall("ParseText"));
        thread->Cancel();
        EXPECT_TRUE(thread->WaitForExit(10000));
        EXPECT_EQ(Failure(), "none");
        thread.reset();
    }
}

TEST_F(BatchThreadTest, CancelReleasesAParserThatWaitsForTheReader) {
    const ScopedLimits limits(300000, 4, 1 << 20);
    parser.Puts(100, "x").Completes();
    Make("");
    Start();
    ASSERT_TRUE(parser.WaitForPuts(4));
    thread->Cancel();
    EXPECT_TRUE(thread->WaitForExit(10000));
    EXPECT_EQ(parser.PutResults(), (std::vector<HRESULT>{S_OK, S_OK, S_OK, S_OK, E_ABORT}));
    // Its answer to the cancel is no failure of the script.
    EXPECT_EQ(Failure(), "none");
}

// A parser that heeds neither the cancel nor the sink fills no memory.
TEST_F(BatchThreadTest, StubbornParserPutsIntoTheVoid) {
    const ScopedLimits limits(300000, 4, 1 << 20);
    parser.Stubborn().Puts(1000, "x").Completes();
    Make("");
    Start();
    ASSERT_TRUE(parser.WaitForPuts(4));
    thread->Cancel();
    EXPECT_TRUE(thread->WaitForExit(10000));
    EXPECT_EQ(parser.PutResults().size(), 1000U);
    EXPECT_EQ(thread->GetBatchCount(), 4U);
}

// The cancel waits until the parser exists, and the parse doesn't begin.
TEST_F(BatchThreadTest, CancelDuringTheStart) {
    for (const char* call : {"create", "GetParser", "Advise"}) {
        FakeParser slow;
        Event proceed(true, false, "");
        proceed.SetTimeout(10000);
        slow.Puts("never").Completes();
        slow.At(call, [&proceed] {
            EXPECT_TRUE(proceed.Lock());
            return S_OK;
        });
        Make("");
        Start();
        ASSERT_TRUE(slow.WaitForCall(call));
        LockWatcher watcher(1);
        std::atomic<bool> returned{false};
        std::thread canceller([&] {
            watcher.WatchThisThread();
            thread->Cancel();
            returned = true;
        });
        EXPECT_TRUE(watcher.Wait());
        // The start holds the lock that it asks for.
        EXPECT_FALSE(returned);
        proceed.SetEvent();
        canceller.join();
        EXPECT_TRUE(thread->WaitForExit(10000));
        EXPECT_TRUE(thread->IsProcessingComplete());
        EXPECT_EQ(Drain(), Lines());
        EXPECT_EQ(Failure(), "none");
        const Lines calls = slow.Calls();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "Unadvise"), 1) << call;
        thread.reset();
    }
}

TEST_F(BatchThreadTest, TerminateBeforeTheParseSkipsIt) {
    parser.At("Advise", [this] {
        thread->Terminate();
        return S_OK;
    });
    parser.Puts("never").Completes();
    Make("");
    EXPECT_EQ(RunToEnd(), Lines());
    EXPECT_EQ(parser.Calls(), (Lines{"create", "GetParser", "Advise", "Unadvise"}));
}

// A component that puts statements while it is being made, into a full queue, still lets a cancel through.
TEST_F(BatchThreadTest, CancelReleasesAParserThatPutsDuringTheStart) {
    const ScopedLimits limits(300000, 1, 1 << 20);
    const unsigned short text[] = {'x', 0};
    std::vector<HRESULT> results;
    Event full(true, false, "");
    full.SetTimeout(10000);
    parser.At("Advise", [&] {
        results.push_back(thread->PutStatement(text, 0, 0, 0, 0, 0));
        full.SetEvent();
        results.push_back(thread->PutStatement(text, 0, 0, 0, 0, 0));
        return S_OK;
    });
    Make("");
    Start();
    ASSERT_TRUE(full.Lock());
    thread->Cancel();
    EXPECT_TRUE(thread->WaitForExit(10000));
    EXPECT_EQ(results, (std::vector<HRESULT>{S_OK, E_ABORT}));
}

TEST_F(BatchThreadTest, ScriptFileIsDeletedAtEveryEnd) {
    const struct {
        const char* name;
        std::function<void(FakeParser&)> script;
        bool cancels;
    } cases[] = {
        {"done", [](FakeParser& one) { one.Puts("x").Completes(); }, false},
        {"failed", [](FakeParser& one) { one.Fails(E_FAIL); }, false},
        {"thrown", [](FakeParser& one) { one.Does([] { throw std::runtime_error("x"); }); }, false},
        {"no parser", [](FakeParser& one) { one.At("GetParser", [] { return E_FAIL; }); }, false},
        {"cancelled", [](FakeParser& one) { one.WaitsForCancel(); }, true},
    };
    for (const auto& one : cases) {
        for (const bool deletes : {true, false}) {
            FakeParser scripted;
            one.script(scripted);
            const ScriptFile file;
            scripted.At("Unadvise", [&file] {
                EXPECT_TRUE(file.Exists());
                return S_OK;
            });
            Make(file.Path(), true, qxdb::DBTYPE_ORACLE, "", true, deletes);
            Start();
            if (one.cancels) {
                ASSERT_TRUE(scripted.WaitForCall("ParseFile"));
                thread->Cancel();
            }
            EXPECT_TRUE(thread->WaitForExit(10000));
            EXPECT_EQ(file.Exists(), !deletes) << one.name;
            thread.reset();
        }
    }
}

TEST_F(BatchThreadTest, TextIsNoFileToDelete) {
    const ScriptFile file;
    parser.Completes();
    Make(file.Path(), false, qxdb::DBTYPE_ORACLE, "", true, true);
    RunToEnd();
    EXPECT_TRUE(file.Exists());
}

TEST_F(BatchThreadTest, DeletingAFileThatIsGoneIsNoFailure) {
    parser.Completes();
    Make("/nonexistent/script.sql", true, qxdb::DBTYPE_ORACLE, "", true, true);
    EXPECT_EQ(RunToEnd(), Lines());
    EXPECT_EQ(Failure(), "none");
}

TEST_F(BatchThreadTest, IsTheSinkAndNothingElse) {
    Make("");
    EXPECT_EQ(CQXDBSQLModule::Instance().GetLockCount(), 1);
    void* object = &object;
    EXPECT_EQ(thread->QueryInterface(IQXBatchProcessorSink::Iid, &object), S_OK);
    EXPECT_EQ(object, static_cast<IQXBatchProcessorSink*>(thread.get()));
    EXPECT_EQ(thread->QueryInterface(IID_IUnknown, &object), S_OK);
    EXPECT_EQ(object, static_cast<IQXBatchProcessorSink*>(thread.get()));
    EXPECT_EQ(thread->QueryInterface(IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(thread->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    // Counted, and not ended by the last reference.
    EXPECT_EQ(thread->Release(), 1U);
    EXPECT_EQ(thread->Release(), 0U);
    EXPECT_EQ(thread->GetBatchCount(), 0U);
    thread.reset();
    EXPECT_EQ(CQXDBSQLModule::Instance().GetLockCount(), 0);
    EXPECT_NE(QXDBSQLEngine_GetInstanceHandle(), nullptr);
}

class RefuseAll : public qxutils::LockFaultInjector {
  public:
    RefuseAll() { qxutils::SetLockFaultInjector(this); }
    ~RefuseAll() override { qxutils::SetLockFaultInjector(nullptr); }
    bool RefuseLock(const void*) override { return true; }
};

TEST_F(BatchThreadTest, RefusedLockFailsTheSink) {
    Make("");
    const DebugTexts debug;
    const unsigned short text[] = {'x', 0};
    {
        const RefuseAll refusing;
        EXPECT_EQ(thread->PutStatement(text, 0, 0, 0, 0, 0), E_FAIL);
        EXPECT_EQ(thread->ProcessingComplete(), E_FAIL);
    }
    EXPECT_EQ(debug.Texts(), (Lines{"Unable to acquire lock!", "Unable to acquire lock!"}));
    EXPECT_EQ(thread->GetBatchCount(), 0U);
}

}  // namespace
}  // namespace qxtest
