#include "dbms/dbms_handler.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <string>
#include <typeinfo>
#include <vector>

#include "dbms/db2_handler.h"
#include "dbms/db2os390_handler.h"
#include "dbms/mysql_handler.h"
#include "dbms/oracle_handler.h"
#include "dbms/sqlserver_handler.h"
#include "dbms/sybase_handler.h"
#include "engine/cancellation.h"
#include "handler_fixture.h"
#include "platform/resource_loader.h"

namespace qxtest {
namespace {

using qxdbsqlengine::CancelledException;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::ResourceLoader;
using qxdbsqlengine::ResultSetMessage;
using qxdbsqlengine::ResultSetNormal;
using qxdbsqlengine::ResultSetStatistics;

ErrorRecord Record(const std::string& text) {
    return ErrorRecord(1, 4711, 2, 3, text, "01000", nullptr);
}

using DBMSHandlerTest = HandlerTest;

TEST_F(DBMSHandlerTest, CreateGivesEachFamilyItsHandler) {
    const struct {
        int type;
        const std::type_info& handler;
    } cases[] = {{2, typeid(qxdbsqlengine::SybaseHandler)},    {3, typeid(qxdbsqlengine::SQLServerHandler)},
                 {4, typeid(qxdbsqlengine::DB2Handler)},       {5, typeid(qxdbsqlengine::OracleHandler)},
                 {10, typeid(qxdbsqlengine::DB2OS390Handler)}, {14, typeid(qxdbsqlengine::MySQLHandler)}};
    for (const auto& one : cases) {
        const auto created = DBMSHandler::Create(request, static_cast<qxdb::DBTYPE>(one.type));
        ASSERT_NE(created, nullptr) << one.type;
        const DBMSHandler& made = *created;
        EXPECT_TRUE(typeid(made) == one.handler) << one.type;
    }
}

TEST_F(DBMSHandlerTest, CreateGivesEveryOtherServerThePlainHandler) {
    for (const int type : {-1, 0, 1, 6, 7, 8, 9, 11, 12, 13, 15, 100, 101, 5000}) {
        const auto created = DBMSHandler::Create(request, static_cast<qxdb::DBTYPE>(type));
        ASSERT_NE(created, nullptr) << type;
        const DBMSHandler& made = *created;
        EXPECT_TRUE(typeid(made) == typeid(DBMSHandler)) << type;
    }
}

// Writes the hooks that a run calls into a trace.
class TracingHandler : public OpenHandler {
  public:
    using OpenHandler::OpenHandler;

    void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override {
        Note("SetOptions", defaults, &options);
        trace.back() += optionRows.empty() ? " without rows" : " with rows";
    }
    void ResetOptions(qxdb::Connection& connection, const OptionMap& defaults) override {
        Note("ResetOptions", defaults, nullptr);
    }
    bool ProcStatistics(qxdb::Connection& connection, const OptionMap& options, bool before) override {
        Note(before ? "ProcStatistics before" : "ProcStatistics after", options, nullptr);
        return true;
    }

    Trace trace;

  private:
    void Note(const std::string& hook, const OptionMap& first, const OptionMap* second) {
        std::string line = hook;
        for (const OptionMap* map : {&first, second}) {
            if (map != nullptr && !map->empty())
                line += " " + std::to_string(map->begin()->first);
        }
        trace.push_back(line);
    }
};

const OptionMap defaultsOfTest = {{1, _variant_t(true)}};
const OptionMap optionsOfTest = {{2, _variant_t(true)}};

TEST_F(DBMSHandlerTest, PreExecuteSetsOptionsThenRunsStatistics) {
    TracingHandler tracing(request, qxdb::DBTYPE_OTHER);
    tracing.PreExecute(Connection(), defaultsOfTest, optionsOfTest);
    EXPECT_EQ(tracing.trace, (Trace{"SetOptions 1 2 with rows", "ProcStatistics before 2"}));
}

TEST_F(DBMSHandlerTest, PostExecuteResetsOptionsOnSybaseAndSqlServerOnly) {
    for (const int type : {-1, 0, 1, 2, 3, 4, 5, 10, 13, 14, 100, 101}) {
        TracingHandler tracing(request, static_cast<qxdb::DBTYPE>(type));
        tracing.PostExecute(Connection(), defaultsOfTest, optionsOfTest);
        Trace expected = {"ProcStatistics after 2"};
        if (type == 2 || type == 3)
            expected.push_back("ResetOptions 1");
        EXPECT_EQ(tracing.trace, expected) << type;
    }
}

TEST_F(DBMSHandlerTest, RunOnSybaseSetsAndResetsTheSession) {
    OpenHandler sybase(request, qxdb::DBTYPE_SYBASE);
    request.SetMaxRowCount(9);
    server.Expect("set rowcount 5");
    server.Expect("set rowcount 0");
    sybase.PreExecute(Connection(), {{50109, _variant_t(0L)}}, {{50109, _variant_t(5L)}});
    EXPECT_EQ(request.GetMaxRowCount(), 9);
    sybase.PostExecute(Connection(), {{50109, _variant_t(0L)}}, {{50109, _variant_t(5L)}});
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    server.Verify();
}

TEST_F(DBMSHandlerTest, RunOnAnyOtherServerLeavesTheSessionAsItWas) {
    server.Expect("SET NOCOUNT ON");
    handler.PreExecute(Connection(), {{50120, _variant_t(false)}}, {{50120, _variant_t(true)}});
    handler.PostExecute(Connection(), {{50120, _variant_t(false)}}, {{50120, _variant_t(true)}});
    server.Verify();
}

TEST_F(DBMSHandlerTest, HooksAroundStatementsDoNothing) {
    handler.PreExecuteBatch(Connection());
    handler.PostExecuteBatch(Connection());
    handler.PreExecuteStatement(Connection());
    handler.PostExecuteStatement(Connection());
    handler.BeginExplainPlanMode(Connection());
    handler.EndExplainPlanMode(Connection());
    EXPECT_TRUE(handler.ProcStatistics(Connection(), optionsOfTest, true));
    EXPECT_TRUE(handler.ProcStatistics(Connection(), optionsOfTest, false));
    EXPECT_TRUE(server.Executed().empty());
    EXPECT_TRUE(request.trace.empty());
}

TEST_F(DBMSHandlerTest, CheckCancelledThrowsOnceTheRequestIsCancelled) {
    EXPECT_NO_THROW(handler.CheckCancelled());
    request.Cancel();
    EXPECT_THROW(handler.CheckCancelled(), CancelledException);
}

TEST_F(DBMSHandlerTest, ItoaWritesPlainDecimals) {
    EXPECT_EQ(handler.itoa(0), "0");
    EXPECT_EQ(handler.itoa(-17), "-17");
    EXPECT_EQ(handler.itoa(std::numeric_limits<int>::max()), "2147483647");
    EXPECT_EQ(handler.itoa(std::numeric_limits<int>::min()), "-2147483648");
}

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(DBMSHandlerTest, ItoaTakesNoNoticeOfTheGlobalLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string text = handler.itoa(1234567);
    std::locale::global(before);
    EXPECT_EQ(text, "1234567");
}

TEST_F(DBMSHandlerTest, AccessorsGiveWhatTheRequestHas) {
    EXPECT_TRUE(handler.GetData() == store);
    EXPECT_EQ(handler.GetResultSetType(), ResultSetNormal);
    handler.SetResultSetType(ResultSetStatistics);
    EXPECT_EQ(request.GetResultSetType(), ResultSetStatistics);
    EXPECT_EQ(handler.GetResultSetId(), 0);
    EXPECT_EQ(handler.GetBatchItemIndex(), 0);
    EXPECT_EQ(handler.GetStatement(), nullptr);
    EXPECT_EQ(&handler.GetHandleTypesMap(), &request.GetHandleTypesMap());
    EXPECT_EQ(&handler.GetFieldsHandlerMap(), &request.GetFieldsHandlerMap());
    EXPECT_EQ(&handler.GetRowHandlerMap(), &request.GetRowHandlerMap());
    EXPECT_EQ(&handler.GetColumnReorder(), &request.GetColumnReorder());
    EXPECT_FALSE(handler.GetDoColumnReorder());
    request.SetDoColumnReorder(true);
    EXPECT_TRUE(handler.GetDoColumnReorder());
    EXPECT_EQ(&handler.GetColumnDefinition(), &request.GetColumnDefinition());
    EXPECT_EQ(handler.tableName, "");
    EXPECT_EQ(handler.dbType, qxdb::DBTYPE_OTHER);
}

TEST_F(DBMSHandlerTest, ParseTableNameTakesTheTableOfTheSql) {
    request.SetSQL("select * from Scott.Emp", request.RequestSQL, false, false);
    handler.ParseTableName();
    EXPECT_EQ(handler.tableName, "Scott.Emp");
}

// Commands and queries.

TEST_F(DBMSHandlerTest, ExecuteCommandDropsAllRows) {
    int fetched = 0;
    const auto count = [&fetched] { ++fetched; };
    server.Expect("exec")
        .Returns(Rows({IntColumn("A")}, {{1}, {2}}).AtRow(0, count).AtRow(1, count))
        .Returns(RowCount(5))
        .Returns(Rows({IntColumn("B")}, {{3}}).AtRow(0, count));
    handler.ExecuteCommand(Connection(), "exec", ResultSetStatistics);
    server.Verify();
    EXPECT_EQ(fetched, 3);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_TRUE(request.trace.empty());
}

TEST_F(DBMSHandlerTest, ExecuteCommandLetsErrorsThrough) {
    server.Expect("exec").Fails(MakeErrors("no"));
    EXPECT_THROW(handler.ExecuteCommand(Connection(), "exec", ResultSetNormal), Errors);
    server.Expect("exec").Returns(Rows({IntColumn("A")}, {{1}}).FailsAtRow(0, MakeErrors("no row")));
    EXPECT_THROW(handler.ExecuteCommand(Connection(), "exec", ResultSetNormal), Errors);
}

class QueryTest : public HandlerTest {
  protected:
    static constexpr int PlainRow = 89001;
    static constexpr int FormatRow = 89002;
    static constexpr int TwoPlacesRow = 89003;
    static constexpr int MissingRow = 89004;

    QueryTest() {
        static const qxdbsqlengine::StringRow rows[] = {
            {PlainRow, "select plain"}, {FormatRow, "select from %s"}, {TwoPlacesRow, "select %s of %s"}};
        ResourceLoader::AddTable(rows, 3);
    }
};

TEST_F(QueryTest, IntIsTheLastRowOfTheLastResultSet) {
    server.Expect("select plain")
        .Returns(Rows({IntColumn("A"), IntColumn("B")}, {{1, 10}, {2, 20}}))
        .Returns(RowCount(99))
        .Returns(Rows({}, {{}, {}}))  // nothing to read in it
        .Returns(Rows({IntColumn("A")}, {{3}, {4}}))
        .Returns(Rows({IntColumn("A")}, {}));
    EXPECT_EQ(handler.GetIntQueryResults(Connection(), "", "", PlainRow), 4);
    server.Verify();
}

TEST_F(QueryTest, IntReadsEveryKindOfNumber) {
    using Bind = qxdb::Column;
    const struct {
        Bind::BindType type;
        Cell value;
        int expected;
    } cases[] = {{Bind::BindShort, static_cast<short>(-3), -3},
                 {Bind::BindInt, 5, 5},
                 {Bind::BindLong, 6L, 6},
                 {Bind::BindInt64, static_cast<__int64>(7), 7},
                 {Bind::BindDecimal, qxdb::Decimal("8"), 8},
                 {Bind::BindInt, Null(), 0}};
    for (const auto& one : cases) {
        server.Expect("select plain").Returns(Rows({MakeColumn("N", one.type)}, {{one.value}}));
        EXPECT_EQ(handler.GetIntQueryResults(Connection(), "", "", PlainRow), one.expected) << one.type;
    }
}

TEST_F(QueryTest, StringIsTheLastRowOfTheLastResultSet) {
    server.Expect("select plain")
        .Returns(Rows({TextColumn("A")}, {{"x"}, {"y"}}))
        .Returns(Rows({TextColumn("A"), TextColumn("B")}, {{"z", "no"}}))
        .Returns(RowCount(1));
    EXPECT_EQ(handler.GetStrQueryResults(Connection(), "", "", PlainRow), "z");
    server.Expect("select plain").Returns(Rows({TextColumn("A")}, {{"x"}, {Null()}}));
    EXPECT_EQ(handler.GetStrQueryResults(Connection(), "", "", PlainRow), "");
}

TEST_F(QueryTest, WithoutRowsTheValueIsTheEmptyOne) {
    server.Expect("select plain").Returns(Rows({IntColumn("A")}, {}));
    EXPECT_EQ(handler.GetIntQueryResults(Connection(), "", "", PlainRow), 0);
    server.Expect("select plain");
    EXPECT_EQ(handler.GetStrQueryResults(Connection(), "", "", PlainRow), "");
}

TEST_F(QueryTest, TextIsFilledWithTheStringsUnlessBothAreEmpty) {
    const struct {
        const char* first;
        const char* second;
        int row;
        const char* sql;
    } cases[] = {{"t", "", FormatRow, "select from t"},
                 {"t", "unused", FormatRow, "select from t"},
                 {"", "b", TwoPlacesRow, "select  of b"},
                 {"a", "b", TwoPlacesRow, "select a of b"},
                 {"", "", FormatRow, "select from %s"}};
    for (const auto& one : cases) {
        server.Expect(one.sql).Returns(Rows({IntColumn("A")}, {{1}}));
        EXPECT_EQ(handler.GetIntQueryResults(Connection(), one.first, one.second, one.row), 1) << one.sql;
    }
    server.Verify();
}

TEST_F(QueryTest, EmptyTextRunsNothing) {
    EXPECT_EQ(handler.GetIntQueryResults(Connection(), "", "", MissingRow), 0);
    EXPECT_EQ(handler.GetStrQueryResults(Connection(), "a", "", MissingRow), "");
    EXPECT_FALSE(handler.GetErrorQueryResults(Connection(), "a", "b", MissingRow));
    EXPECT_FALSE(handler.GetErrorQueryResults(Connection(), "only one", "", TwoPlacesRow));
    EXPECT_EQ(handler.GetIntQueryResults(Connection(), "", "", -1), 0);
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(QueryTest, ProbeTellsWhetherTheStatementRanToItsEnd) {
    int fetched = 0;
    server.Expect("select plain").Returns(Rows({IntColumn("A")}, {{1}, {2}}).AtRow(1, [&fetched] {
        ++fetched;
    }));
    EXPECT_TRUE(handler.GetErrorQueryResults(Connection(), "", "", PlainRow));
    EXPECT_EQ(fetched, 1);

    server.Expect("select from t").Fails(MakeErrors("no such table"));
    EXPECT_FALSE(handler.GetErrorQueryResults(Connection(), "t", "", FormatRow));

    server.Expect("select plain").Returns(Rows({IntColumn("A")}, {{1}}).FailsAtRow(1, MakeErrors("gone")));
    EXPECT_FALSE(handler.GetErrorQueryResults(Connection(), "", "", PlainRow));

    server.Expect("select plain").FailsAfter(MakeErrors("late"));
    EXPECT_FALSE(handler.GetErrorQueryResults(Connection(), "", "", PlainRow));
    EXPECT_TRUE(request.trace.empty());  // nobody hears of it
    server.Verify();
}

TEST_F(QueryTest, OtherQueriesLetErrorsThrough) {
    server.Expect("select plain").Fails(MakeErrors("no"));
    EXPECT_THROW(handler.GetIntQueryResults(Connection(), "", "", PlainRow), Errors);
    server.Expect("select plain").Fails(MakeErrors("no"));
    EXPECT_THROW(handler.GetStrQueryResults(Connection(), "", "", PlainRow), Errors);
}

// Messages of the server.

using MessageTest = HandlerTest;

TEST_F(MessageTest, MessageIsNotifiedAsItCameAndSavedTrimmed) {
    EXPECT_EQ(handler.HandleNotify(Record(" \t two words \r\n")), 1);
    EXPECT_EQ(request.trace, (Trace{"error  \t two words \r\n", "saved two words"}));
}

TEST_F(MessageTest, BlankMessageIsNeitherShownNorSaved) {
    for (const char* text : {"", " ", " \r\n\t "})
        EXPECT_EQ(handler.HandleNotify(Record(text)), 1);
    EXPECT_TRUE(request.trace.empty());
}

TEST_F(MessageTest, WhileCachedMessagesAreQueued) {
    handler.CacheNotifyMessages(true, false);
    EXPECT_FALSE(handler.HasCachedNotifyMessages());
    EXPECT_EQ(handler.HandleNotify(Record("one")), 1);
    EXPECT_EQ(handler.HandleNotify(Record("  ")), 1);
    EXPECT_TRUE(handler.HasCachedNotifyMessages());
    EXPECT_TRUE(request.trace.empty());
    ASSERT_EQ(handler.cachedMessages.size(), 2u);
    const ErrorRecord& first = handler.cachedMessages.front();
    EXPECT_EQ(first.GetSeverity(), 1);
    EXPECT_EQ(first.GetErrorCode(), 4711);
    EXPECT_EQ(first.GetSQLState(), "01000");
}

TEST_F(MessageTest, FlushDeliversTheOldestFirst) {
    handler.CacheNotifyMessages(true, false);
    for (const char* text : {"one", " ", "two", "three"})
        handler.HandleNotify(Record(text));
    handler.CacheNotifyMessages(false, true);
    EXPECT_EQ(request.trace,
              (Trace{"error one", "saved one", "error two", "saved two", "error three", "saved three"}));
    EXPECT_FALSE(handler.HasCachedNotifyMessages());
}

TEST_F(MessageTest, WithoutFlushTheQueueStaysForALaterOne) {
    handler.CacheNotifyMessages(true, false);
    handler.HandleNotify(Record("one"));
    handler.CacheNotifyMessages(false, false);
    EXPECT_TRUE(handler.HasCachedNotifyMessages());
    EXPECT_TRUE(request.trace.empty());
    handler.HandleNotify(Record("two"));  // not cached any more, so it overtakes
    handler.CacheNotifyMessages(false, true);
    EXPECT_EQ(request.trace, (Trace{"error two", "saved two", "error one", "saved one"}));
}

TEST_F(MessageTest, FlushWhileCachingGoesOnCaching) {
    handler.CacheNotifyMessages(true, false);
    handler.HandleNotify(Record("one"));
    handler.CacheNotifyMessages(true, true);
    EXPECT_TRUE(handler.HasCachedNotifyMessages());
    EXPECT_TRUE(request.trace.empty());
}

TEST_F(MessageTest, FlushOfAnEmptyQueueDoesNothing) {
    handler.CacheNotifyMessages(false, true);
    EXPECT_TRUE(request.trace.empty());
}

// Caches again in the middle of a flush, as a message that opens a result set does.
class RecachingHandler : public OpenHandler {
  public:
    using OpenHandler::OpenHandler;
    int HandleNotify(const ErrorRecord& record) override {
        seen.push_back(record.GetErrorDescription() + (HasCachedNotifyMessages() ? " +" : " -"));
        if (recaches)
            cachedMessages.push(record);
        return 1;
    }
    Trace seen;
    bool recaches = false;
};

TEST_F(MessageTest, QueueIsEmptyWhileItIsFlushed) {
    RecachingHandler recaching(request, qxdb::DBTYPE_OTHER);
    recaching.cachedMessages.push(Record("one"));
    recaching.cachedMessages.push(Record("two"));
    recaching.CacheNotifyMessages(false, true);
    EXPECT_EQ(recaching.seen, (Trace{"one -", "two -"}));
}

TEST_F(MessageTest, MessagesQueuedDuringAFlushWaitForTheNext) {
    RecachingHandler recaching(request, qxdb::DBTYPE_OTHER);
    recaching.recaches = true;
    recaching.cachedMessages.push(Record("one"));
    recaching.cachedMessages.push(Record("two"));
    recaching.CacheNotifyMessages(false, true);
    EXPECT_EQ(recaching.seen, (Trace{"one -", "two +"}));
    EXPECT_EQ(recaching.cachedMessages.size(), 2u);
}

TEST_F(MessageTest, CancelDuringAMessageStaysInside) {
    request.Cancel();
    EXPECT_EQ(handler.HandleNotify(Record("late")), 1);
    EXPECT_EQ(request.trace, (Trace{"error late", "saved late"}));
    EXPECT_EQ(handler.HandleInformationNotify("later"), 1);
    EXPECT_EQ(request.trace.back(), "saved later");
}

TEST_F(MessageTest, InformationIsSavedOnly) {
    EXPECT_EQ(handler.HandleInformationNotify(nullptr), 0);
    EXPECT_EQ(handler.HandleInformationNotify(""), 0);
    EXPECT_TRUE(request.trace.empty());
    EXPECT_EQ(handler.HandleInformationNotify("  as it is "), 1);
    EXPECT_EQ(request.trace, (Trace{"saved   as it is "}));
}

TEST_F(MessageTest, InformationIsQueuedAsAPlainRecord) {
    handler.CacheNotifyMessages(true, false);
    EXPECT_EQ(handler.HandleInformationNotify(""), 0);
    EXPECT_FALSE(handler.HasCachedNotifyMessages());
    EXPECT_EQ(handler.HandleInformationNotify("text"), 1);
    EXPECT_TRUE(request.trace.empty());
    ASSERT_EQ(handler.cachedMessages.size(), 1u);
    const ErrorRecord& queued = handler.cachedMessages.front();
    EXPECT_EQ(queued.GetSeverity(), 0);
    EXPECT_EQ(queued.GetErrorCode(), 0);
    EXPECT_EQ(queued.GetLineNumber(), 0);
    EXPECT_EQ(queued.GetErrorPosition(), 0);
    EXPECT_EQ(queued.GetErrorDescription(), "text");
    EXPECT_EQ(queued.GetSQLState(), "");
    EXPECT_EQ(queued.GetUserData(), nullptr);
}

TEST_F(MessageTest, MessagesOfAConnectionReachTheHandler) {
    server.Expect("exec").Message(Info(" hello "));
    Connection().SetCallback(&handler);
    handler.ExecuteCommand(Connection(), "exec", ResultSetNormal);
    Connection().SetCallback(nullptr);
    EXPECT_EQ(request.trace, (Trace{"error  hello ", "saved hello"}));
}

TEST_F(MessageTest, SaveNotifyMessageGoesToTheRequest) {
    handler.SaveNotifyMessage("kept");
    EXPECT_EQ(request.trace, (Trace{"saved kept"}));
}

// Failures of statements.

TEST_F(MessageTest, ErrorsAreSavedOneByOneAndNotifiedTogether) {
    Errors errors = MakeErrors({Record("one"), Record(" two "), Record("")});
    handler.HandleErrors(errors);
    EXPECT_EQ(request.trace, (Trace{"saved one", "saved  two ", "saved ", "error one |  two  | "}));
    EXPECT_TRUE(errors.MoreErrors());  // rewound
}

TEST_F(MessageTest, ErrorsAreReadFromTheReadPositionOn) {
    Errors errors = MakeErrors({Record("one"), Record("two")});
    errors.GetNextError();
    handler.HandleErrors(errors);
    EXPECT_EQ(request.trace, (Trace{"saved two", "error one | two"}));
}

TEST_F(MessageTest, ErrorsOfAConnectionAreHandledAlike) {
    Errors errors = MakeErrors("broken");
    handler.HandleErrors(errors, Connection());
    EXPECT_EQ(request.trace, (Trace{"saved broken", "error broken"}));
    EXPECT_TRUE(server.Executed().empty());
}

TEST_F(MessageTest, CancelWhileErrorsAreSavedLeaves) {
    request.Cancel();
    Errors errors = MakeErrors("broken");
    EXPECT_THROW(handler.HandleErrors(errors), CancelledException);
}

}  // namespace
}  // namespace qxtest
