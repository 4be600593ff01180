// Parameters of statements through a director: from the caller's list to what the database has got.
#include <gtest/gtest.h>

#include <chrono>
#include <locale>
#include <thread>

#include "drivers/sqlite/sqlite_driver.h"
#include "engine/director.h"
#include "engine/single_connection.h"
#include "params/parameter_list.h"
#include "platform/qxdb/manager.h"
#include "platform/qxdb/schema.h"
#include "support/recording_callbacks.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::CSingleRequestDirector;
using qxdbsqlengine::DataStorage;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;
using qxdbsqlengine::SmartPtr;
using qxdbsqlengine::SQLRequest;
using Lines = std::vector<std::string>;

template <class T>
Parameter Value(const std::string& name, Column::BindType type, const T& value) {
    Parameter parameter(name, type, DataType::DirectionIn, 0, 0);
    parameter.Set(value);
    return parameter;
}
Parameter Text(const std::string& name, const std::string& value) {
    return Value(name, Column::BindString, value);
}
Parameter Number(const std::string& name, int value) {
    return Value(name, Column::BindInt, value);
}
Parameter Without(const std::string& name, void (Parameter::*set)()) {
    Parameter parameter(name, Column::BindInt, DataType::DirectionIn, 0, 0);
    (parameter.*set)();
    return parameter;
}
ParameterList List(const std::vector<Parameter>& parameters) {
    ParameterList list;
    for (const Parameter& parameter : parameters)
        list.PushBack(parameter);
    return list;
}
ParameterList Named(const std::vector<Parameter>& parameters) {
    ParameterList list;
    list.SetBindMethod(ParameterList::BindByName);
    for (const Parameter& parameter : parameters)
        list.PushBack(parameter);
    return list;
}
qxdb::Timestamp Moment() {
    return qxdb::Timestamp("2006-12-31 10:20:30", "yyyy-MM-dd HH:mm:ss");
}
qxdb::DynBuffer Bytes(const std::string& text) {
    qxdb::DynBuffer buffer;
    buffer.Assign(reinterpret_cast<const unsigned char*>(text.data()),
                  static_cast<unsigned int>(text.size()));
    return buffer;
}

qxdb::ConnectionDef MemoryDatabase() {
    qxdrivers::RegisterSQLite();
    return qxdb::Manager::Instance().Bind(qxdb::DBTYPE_SQLITE, ":memory:", "", "", "sqlite", "");
}

class SQLiteBinding : public ::testing::Test {
  protected:
    SQLiteBinding()
        : director(qxdbsrd::ConnectionDefElement(qxdb::DBTYPE_SQLITE, ":memory:", 0.0, "", ""),
                   SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(
                       new qxdbsqlengine::SingleConnection(MemoryDatabase())),
                   nullptr, "", true) {
        calls.RegisterWith(director);
        director.SetDoPrepare(true);
    }

    // The rows of the first result set, cells with "|" between them; or the errors.
    Lines Run(const std::string& sql, const ParameterList& list = ParameterList()) {
        director.SetParameters(list);
        return RunAgain(sql);
    }
    Lines RunAgain(const std::string& sql) {
        calls.Clear();
        director.ClearStorage();
        director.Execute(sql, SQLRequest::RequestSQL, false, false);
        Wait();
        const Lines errors = calls.LinesOf("OnError");
        if (!errors.empty())
            return errors;
        const SmartPtr<DataStorage> store = director.GetDataStorage();
        Lines rows;
        for (int row = 0; row < store->GetNumberOfRows(0); ++row) {
            std::string line;
            for (int column = 0; column < store->GetNumberOfColumns(0); ++column) {
                line += column == 0 ? "" : "|";
                line += store->IsNull(0, row, column)
                            ? "NULL"
                            : store->AsString(0, row, column, std::locale::classic());
            }
            rows.push_back(line);
        }
        return rows;
    }
    void Wait() {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (director.IsExecuting() && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_FALSE(director.IsExecuting());
    }
    // How the database has got the one parameter.
    std::string Sent(const Parameter& parameter) {
        const Lines rows = Run("SELECT typeof(?1) || ' ' || quote(?1)", List({parameter}));
        return rows.empty() ? "no row" : rows[0];
    }
    void Hint(const std::vector<qxdb::ColumnRecord>& columns) {
        qxdb::Schema::Columns shared;
        for (const qxdb::ColumnRecord& column : columns)
            shared.push_back(std::make_shared<qxdb::ColumnRecord>(column));
        director.SetSchema(qxdb::Schema(shared));
    }

    qxtest::RecordingCallbacks calls;
    CSingleRequestDirector director;
};

TEST_F(SQLiteBinding, EveryTypeArrivesAsItIs) {
    EXPECT_EQ(Sent(Text("", "it's 7")), "text 'it''s 7'");
    EXPECT_EQ(Sent(Text("", "")), "text ''");
    EXPECT_EQ(Sent(Number("", -7)), "integer -7");
    EXPECT_EQ(Sent(Value("", Column::BindLong, 7L)), "integer 7");
    EXPECT_EQ(Sent(Value("", Column::BindShort, static_cast<short>(-32768))), "integer -32768");
    EXPECT_EQ(Sent(Value("", Column::BindFloat, 0.5F)), "real 0.5");
    EXPECT_EQ(Sent(Value("", Column::BindDouble, 2.0)), "real 2.0");
    EXPECT_EQ(Sent(Value("", Column::BindDecimal, qxdb::Decimal(std::string("12.50")))), "real 12.5");
    EXPECT_EQ(Sent(Value("", Column::BindDecimal, qxdb::Decimal(std::string("12345678901234567890.12")))),
              "text '12345678901234567890.12'");
    EXPECT_EQ(Sent(Value("", Column::BindInt64, static_cast<__int64>(9223372036854775807LL))),
              "integer 9223372036854775807");
    EXPECT_EQ(Sent(Value("", Column::BindBinary, Bytes(std::string("\0\xFF\x10", 3)))), "blob X'00FF10'");
    EXPECT_EQ(Sent(Value("", Column::BindBinary, Bytes(""))), "blob X''");
    EXPECT_EQ(Sent(Value("", Column::BindTimestamp, Moment())), "text '2006-12-31 10:20:30'");
    EXPECT_EQ(Sent(Value("", Column::BindOtherString, std::string("x"))), "text 'x'");
    // Held as texts, these go as texts.
    EXPECT_EQ(Sent(Value("", Column::BindUnknown, std::string("7"))), "text '7'");
    EXPECT_EQ(Sent(Value("", Column::BindLob, std::string("long"))), "text 'long'");
    EXPECT_EQ(Sent(Value("", Column::BindCursor, std::string("c"))), "text 'c'");
    EXPECT_EQ(Sent(Value("", Column::BindOtherCursor, std::string("c"))), "text 'c'");
}

TEST_F(SQLiteBinding, NullAndDefaultAreNull) {
    EXPECT_EQ(Sent(Without("", &Parameter::SetNull)), "null NULL");
    EXPECT_EQ(Sent(Without("", &Parameter::SetDefault)), "null NULL");
    // Not the default of a column: that belongs to a column which is not named at all.
    Run("CREATE TABLE t(a INT DEFAULT 5, b INT DEFAULT 6)");
    Run("INSERT INTO t VALUES(?, ?)",
        List({Without("", &Parameter::SetDefault), Without("", &Parameter::SetNull)}));
    EXPECT_EQ(Run("SELECT a, b FROM t"), (Lines{"NULL|NULL"}));
}

TEST_F(SQLiteBinding, ByPosition) {
    const ParameterList list = List({Number("x", 1), Text("y", "b"), Number("z", 3)});
    EXPECT_EQ(Run("SELECT ?, ?, ?", list), (Lines{"1|b|3"}));
    EXPECT_EQ(Run("SELECT ?3, ?1, ?2, ?1", list), (Lines{"3|1|b|1"}));
    EXPECT_EQ(Run("SELECT :x, @y, $z, :x", list), (Lines{"1|b|3|1"}));
    EXPECT_EQ(Run("SELECT :q, ?, :q", list), (Lines{"1|b|1"}));
    // Missing ones are NULL, too many are ignored.
    EXPECT_EQ(Run("SELECT ?, ?, ?, ?", list), (Lines{"1|b|3|NULL"}));
    EXPECT_EQ(Run("SELECT ?", list), (Lines{"1"}));
    EXPECT_EQ(Run("SELECT 'no ?'", list), (Lines{"no ?"}));
}

TEST_F(SQLiteBinding, ByName) {
    const ParameterList list = Named({Number("c", 3), Number("a", 1), Text("b", "two")});
    EXPECT_EQ(Run("SELECT :a, @b, $c", list), (Lines{"1|two|3"}));
    EXPECT_EQ(Run("SELECT $c, :c, @c, :a, :c, @b", list), (Lines{"3|3|3|1|3|two"}));
    EXPECT_EQ(Run("SELECT :c, :a, :a, :b, :d", list), (Lines{"3|1|1|two|NULL"}));
    EXPECT_EQ(Run("SELECT :a, :b", list), (Lines{"OnError Unknown parameter : c"}));
    EXPECT_EQ(Run("SELECT :a, :B", Named({Number("a", 1), Number("b", 2)})),
              (Lines{"OnError Unknown parameter : b"}));
    // Numbers are names too; without any name the list goes by position.
    EXPECT_EQ(Run("SELECT ?2, ?1", Named({Number("1", 10), Number("2", 20)})), (Lines{"20|10"}));
    EXPECT_EQ(Run("SELECT ?, ?", Named({Number("b", 2), Number("a", 1)})), (Lines{"2|1"}));
}

TEST_F(SQLiteBinding, ValuesFindTheRowsOfTheirType) {
    Run("CREATE TABLE t(id INTEGER PRIMARY KEY, d DECIMAL(10,2), s TEXT, b BLOB, m DATETIME, any)");
    const ParameterList row =
        List({Number("", 1), Value("", Column::BindDecimal, qxdb::Decimal(std::string("12.50"))),
              Text("", "text"), Value("", Column::BindBinary, Bytes("\x01\x02")),
              Value("", Column::BindTimestamp, Moment()), Number("", 7)});
    EXPECT_EQ(Run("INSERT INTO t VALUES(?, ?, ?, ?, ?, ?)", row), (Lines{"1 row(s) affected."}));
    EXPECT_EQ(Run("SELECT * FROM t WHERE id = ? AND d = ? AND s = ? AND b = ? AND m = ? AND any = ?", row),
              (Lines{"1|12.50|text|0102|2006-12-31 10:20:30.000|7"}));
    // A number as text is another value where the column has no type.
    EXPECT_EQ(Run("SELECT count(*) FROM t WHERE any = ?", List({Text("", "7")})), (Lines{"0"}));
}

TEST_F(SQLiteBinding, AHintGivesParametersTheirTypes) {
    qxdb::ColumnRecord number;
    number.type = Column::BindInt;
    qxdb::ColumnRecord time;
    time.type = Column::BindTimestamp;
    time.dateTimeFormat = "yyyy-MM-dd";
    qxdb::ColumnRecord lob;
    lob.type = Column::BindLob;
    const std::string sql = "SELECT typeof(?), ?, typeof(?)";
    director.SetParameters(List({Text("", "12"), Text("", "2006-12-31"), Text("", "large")}));
    // The text of a run forgets the schema, so the request gets it once the text is there.
    RunAgain(sql);
    Hint({number, time, lob});
    calls.Clear();
    director.ClearStorage();
    director.Execute();
    Wait();
    const SmartPtr<DataStorage> store = director.GetDataStorage();
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->AsString(0, 0, 0, std::locale::classic()), "integer");
    EXPECT_EQ(store->AsString(0, 0, 1, std::locale::classic()), "2006-12-31");
    // A large object is not bound.
    EXPECT_EQ(store->AsString(0, 0, 2, std::locale::classic()), "null");
}

TEST_F(SQLiteBinding, BoundAsStringsEverythingIsText) {
    director.SetBindAsStrings(true);
    EXPECT_EQ(Sent(Number("", 7)), "text '7'");
    EXPECT_EQ(Sent(Value("", Column::BindBinary, Bytes("\x07"))), "text '07'");
    EXPECT_EQ(Sent(Without("", &Parameter::SetNull)), "null NULL");
}

TEST_F(SQLiteBinding, OutputsAreRefused) {
    Parameter output = Number("", 1);
    output.SetDirection(DataType::DirectionOut);
    EXPECT_EQ(Run("SELECT ?, ?", List({Number("", 1), output})),
              (Lines{"OnError SQLite has no output parameters (parameter 2)"}));
    EXPECT_EQ(calls.LinesOf("OnExecuteBegin"), Lines());
    EXPECT_EQ(calls.LinesOf("OnBatchItemEnd"), (Lines{"OnBatchItemEnd 0 0"}));
    director.Execute("p", SQLRequest::RequestProcedure, false, false);
    Wait();
    EXPECT_EQ(calls.LinesOf("OnError").back(), "OnError SQLite has no stored procedures: \"p\"");
}

TEST_F(SQLiteBinding, FailuresOfThePrepareAndOfTheStatement) {
    EXPECT_EQ(Run("SELECT nocol, ?", List({Number("", 1)})), (Lines{"OnError no such column: nocol"}));
    Run("CREATE TABLE t(a INT UNIQUE)");
    Run("INSERT INTO t VALUES(?)", List({Number("", 1)}));
    EXPECT_EQ(Run("INSERT INTO t VALUES(?)", List({Number("", 1)})),
              (Lines{"OnError UNIQUE constraint failed: t.a"}));
    EXPECT_EQ(Run("INSERT INTO t VALUES(?)", List({Number("", 2)})), (Lines{"1 row(s) affected."}));
}

TEST_F(SQLiteBinding, ATextOfSeveralStatementsBindsItsFirst) {
    EXPECT_EQ(Run("CREATE TABLE t(a); INSERT INTO t VALUES(1); SELECT a FROM t", List({Number("", 1)})),
              (Lines{"1 row(s) affected."}));
    EXPECT_EQ(Run("SELECT a + ? FROM t; SELECT 2", List({Number("", 10)})), (Lines{"11"}));
    EXPECT_EQ(director.GetDataStorage()->GetNumberOfResultSets(), 2);
    const Lines refused = Run("SELECT 1; SELECT ?", List({Number("", 10)}));
    EXPECT_EQ(refused, (Lines{"OnError Only the first statement of a prepared text may have parameters"}));
}

TEST_F(SQLiteBinding, ManyParameters) {
    std::string sql = "SELECT ?";
    ParameterList list;
    list.PushBack(Number("", 0));
    int sum = 0;
    for (int i = 1; i < 2000; ++i) {
        sql += i % 400 == 0 ? ",?" : "+?";
        list.PushBack(Number("", i));
        sum += i >= 1600 ? i : 0;
    }
    const Lines rows = Run(sql, list);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].substr(rows[0].rfind('|') + 1), std::to_string(sum));
}

}  // namespace
