#include <gtest/gtest.h>
#include <sqlite3.h>

#include "drivers/sqlite_support.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxtest::FailureOf;
using qxtest::Open;
using qxtest::Rows;
using qxtest::RunAll;
using Lines = std::vector<std::string>;

// A prepared statement with the fields of its parameters.
struct Prepared {
    Prepared(qxdb::Connection connection, const std::string& sql, bool bindAsStrings = false)
        : statement(connection.CreateStatement(qxdb::CursorDefault, 1)) {
        statement.Prepare(sql, qxdb::Statement::PrepareSQL);
        binding = statement.Bind();
        fields =
            std::make_unique<qxdb::Fields>(binding, bindAsStrings, qxdb::ExclusionIndex(), false, nullptr);
    }
    qxdb::Field& operator[](unsigned int index) { return (*fields)[index]; }

    // The first cell of the first result as text.
    std::string Run() {
        statement.Execute();
        if (!statement.ResultSetAvailable()) {
            return "no result";
        }
        qxdb::Cursor cursor = statement.GetResults(1, "");
        qxdb::BindValue row = cursor.Bind();
        qxdb::Fields values(row, true, {}, false, nullptr);
        if (values.GetFieldCount() == 0) {
            return std::to_string(cursor.GetRowCount()) + " row(s)";
        }
        if (!cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
            return "no row";
        }
        return values[0].IsNull() ? "NULL" : values[0].AsString();
    }

    qxdb::Statement statement;
    qxdb::BindValue binding;
    std::unique_ptr<qxdb::Fields> fields;
};

TEST(SQLiteParameters, NamesAndOrder) {
    struct Case {
        const char* sql;
        Lines names;
    };
    const Case cases[] = {
        {"SELECT 1", {}},
        {"SELECT ?, ?", {"", ""}},
        {"SELECT ?3, ?1", {"1", "", "3"}},
        {"SELECT :a, @b, $c", {"a", "b", "c"}},
        {"SELECT :a, :b, :a", {"a", "b"}},
        {"SELECT :x, ?, :x, ?5", {"x", "", "", "", "5"}},
        {"SELECT :a, @a, $a, :a", {"a", "a", "a"}},
        {"SELECT ':no', '?' -- ?\n", {}},
    };
    for (const Case& c : cases) {
        Prepared prepared(Open(":memory:"), c.sql);
        const qxdb::Schema schema = prepared.binding.GetSchema();
        ASSERT_EQ(schema.GetNumberColumns(), c.names.size()) << c.sql;
        ASSERT_EQ(prepared.fields->GetFieldCount(), c.names.size());
        for (unsigned int i = 0; i < c.names.size(); ++i) {
            EXPECT_EQ(schema[i].GetName(), c.names[i]) << c.sql;
            EXPECT_EQ(prepared[i].GetName(), c.names[i]) << c.sql;
            EXPECT_EQ(schema[i].GetType(), Column::BindUnknown);
            EXPECT_EQ(prepared[i].GetType(), Column::BindUnknown);
            EXPECT_EQ(schema[i].GetDirection(), DataType::DirectionIn);
            EXPECT_EQ(prepared[i].GetDirection(), DataType::DirectionIn);
        }
        EXPECT_EQ(prepared.statement.GetBindHint().GetNumberColumns(), c.names.size());
    }
}

// Sets the one parameter of "SELECT typeof(?1) || ':' || quote(?1)".
std::string Sent(const std::function<void(qxdb::Field&)>& set) {
    Prepared prepared(Open(":memory:"), "SELECT typeof(?1) || ':' || quote(?1)");
    set(prepared[0]);
    return prepared.Run();
}

qxdb::Timestamp Moment(int fraction) {
    qxdb::Timestamp value;
    value.SetDate(2024, 2, 29);
    value.SetTime(1, 2, 3);
    value.SetFraction(fraction);
    return value;
}

TEST(SQLiteParameters, SettersSendTheirOwnType) {
    EXPECT_EQ(Sent([](qxdb::Field&) {}), "null:NULL");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetNull(); }), "null:NULL");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetString("it's"); }), "text:'it''s'");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetString(""); }), "text:''");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetShort(-32768); }), "integer:-32768");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetInt(2147483647); }), "integer:2147483647");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetLong(-5); }), "integer:-5");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetBigInt(INT64_MAX); }), "integer:9223372036854775807");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetBigInt(INT64_MIN); }), "integer:-9223372036854775808");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetFloat(0.5f); }), "real:0.5");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetDouble(2.0); }), "real:2.0");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetDouble(std::numeric_limits<double>::quiet_NaN()); }),
              "null:NULL");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetDecimal(qxdb::Decimal(std::string("12"))); }), "integer:12");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetDecimal(qxdb::Decimal(std::string("12.00"))); }), "real:12.0");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetDecimal(qxdb::Decimal(std::string("12.50"))); }), "real:12.5");
    EXPECT_EQ(
        Sent([](qxdb::Field& f) { f.SetDecimal(qxdb::Decimal(std::string("12345678901234567890.12"))); }),
        "text:'12345678901234567890.12'");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetTimestamp(Moment(0)); }), "text:'2024-02-29 01:02:03'");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetTimestamp(Moment(500000000)); }),
              "text:'2024-02-29 01:02:03.500'");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetTimestamp(Moment(1000)); }),
              "text:'2024-02-29 01:02:03.000001'");
    EXPECT_EQ(Sent([](qxdb::Field& f) { f.SetTimestamp(Moment(1)); }),
              "text:'2024-02-29 01:02:03.000000001'");
}

TEST(SQLiteParameters, BytesGoThroughTheBuffer) {
    const auto setBytes = [](qxdb::Field& field, std::initializer_list<unsigned char> bytes) {
        qxdb::DynBuffer value;
        value.Assign(bytes.begin(), static_cast<unsigned int>(bytes.size()));
        field.SetString("");
        field.GetBuffer().Assign(value);
    };
    EXPECT_EQ(Sent([&](qxdb::Field& f) { setBytes(f, {0, 255, 16}); }), "blob:X'00FF10'");
    EXPECT_EQ(Sent([&](qxdb::Field& f) { setBytes(f, {}); }), "blob:X''");
    EXPECT_EQ(Sent([&](qxdb::Field& f) {
                  setBytes(f, {1});
                  f.SetInt(3);
              }),
              "integer:3");
}

TEST(SQLiteParameters, TextKeepsZeroBytesAndBadUtf8) {
    const std::string text("a\0\xFF\xF0\x9F\x98\x80", 7);
    Prepared prepared(Open(":memory:"), "SELECT ?1");
    prepared[0].SetString(text);
    EXPECT_EQ(prepared.Run(), text);
}

TEST(SQLiteParameters, FieldsReadBackWhatWasSet) {
    Prepared prepared(Open(":memory:"), "SELECT ?1");
    qxdb::Field& field = prepared[0];
    EXPECT_TRUE(field.IsNull());
    EXPECT_EQ(field.AsString(), "");
    field.SetBigInt(70000);
    EXPECT_FALSE(field.IsNull());
    EXPECT_EQ(field.AsBigInt(), 70000);
    EXPECT_EQ(field.AsInt(), 70000);
    EXPECT_EQ(field.AsLong(), 70000);
    EXPECT_EQ(field.AsString(), "70000");
    EXPECT_EQ(FailureOf([&] { field.AsShort(); }).text, "Field \"1\" has no AsShort");
    EXPECT_EQ(FailureOf([&] { field.AsDouble(); }).text, "Field \"1\" has no AsDouble");
    field.SetDouble(1.5);
    EXPECT_EQ(field.AsDouble(), 1.5);
    EXPECT_EQ(field.AsFloat(), 1.5f);
    EXPECT_EQ(field.AsString(), "1.5");
    field.SetDecimal(qxdb::Decimal(std::string("1.50")));
    EXPECT_EQ(field.AsDecimal().AsString(false, -1), "1.50");
    EXPECT_EQ(field.AsString(), "1.50");
    field.SetTimestamp(Moment(0));
    EXPECT_EQ(field.AsTimestamp().GetYear(), 2024);
    EXPECT_EQ(field.AsString(), "2024-02-29 01:02:03.000");
    field.GetBuffer().SetLength(2);
    EXPECT_EQ(field.AsString(), "0000");
    field.SetNull();
    EXPECT_TRUE(field.IsNull());
}

TEST(SQLiteParameters, RunsAgainWithOtherValues) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT, b TEXT)");
    Prepared insert(connection, "INSERT INTO t VALUES(:a, :b)");
    insert[1].SetString("same");
    for (int i = 1; i <= 3; ++i) {
        insert[0].SetInt(i);
        EXPECT_EQ(insert.Run(), "1 row(s)");
    }
    insert[1].SetNull();
    insert.Run();
    EXPECT_EQ(Rows(connection, "SELECT * FROM t"), (Lines{"1|same", "2|same", "3|same", "3|NULL"}));
    RunAll(connection, "ALTER TABLE t ADD COLUMN c DEFAULT 9");
    Prepared select(connection, "SELECT c FROM t WHERE a = ?");
    select[0].SetString("2");
    EXPECT_EQ(select.Run(), "9");
}

TEST(SQLiteParameters, RunsAgainWhileTheLastResultIsOpen) {
    Prepared prepared(Open(":memory:"), "VALUES(?1), (?1 + 1)");
    prepared[0].SetInt(5);
    EXPECT_EQ(prepared.Run(), "5");
    prepared[0].SetInt(50);
    EXPECT_EQ(prepared.Run(), "50");
}

TEST(SQLiteParameters, RunsAgainAfterAFailure) {
    qxdb::Connection connection = Open(":memory:");
    RunAll(connection, "CREATE TABLE t(a INT UNIQUE); INSERT INTO t VALUES(1)");
    Prepared insert(connection, "INSERT INTO t VALUES(?)");
    insert[0].SetInt(1);
    EXPECT_EQ(FailureOf([&] { insert.Run(); }).code, SQLITE_CONSTRAINT_UNIQUE);
    insert[0].SetInt(2);
    EXPECT_EQ(insert.Run(), "1 row(s)");
}

TEST(SQLiteParameters, StorageOfTheCallerIsReadWhenTheStatementRuns) {
    qxdb::Connection connection = Open(":memory:");
    Prepared prepared(
        connection,
        "SELECT ?||'|'||?||'|'||?||'|'||?||'|'||?||'|'||?||'|'||quote(?)||'|'||?||'|'||?||'|'||?");
    short number = 0;
    int integer = 0;
    long large = 0;
    __int64 huge = 0;
    float single = 0;
    double real = 0;
    qxdb::DynBuffer bytes;
    qxdb::Timestamp time;
    std::string text;
    qxdb::Decimal decimal;
    qxdb::BasicFixedString<char> fixedText(text, -1, 0);
    qxdb::FixedDecimal fixedDecimal(decimal, -1, -1);
    unsigned int expected = 1;
    const auto bind = [&](auto& value) {
        EXPECT_EQ(prepared.binding.GetNextBind(), expected);
        prepared.binding.Bind(DataType::DirectionIn, prepared.binding.GetNextBind(), value, nullptr);
        ++expected;
    };
    bind(number);
    bind(integer);
    bind(large);
    bind(huge);
    bind(single);
    bind(real);
    bind(static_cast<qxdb::BufferBase&>(bytes));
    bind(time);
    bind(fixedText);
    bind(fixedDecimal);
    EXPECT_EQ(prepared.binding.GetNextBind(), 11u);
    number = 1;
    integer = 2;
    large = 3;
    huge = 4;
    single = 0.5f;
    real = 0.25;
    bytes.SetLength(1);
    time = Moment(0);
    text = "text";
    decimal = qxdb::Decimal(std::string("1.75"));
    EXPECT_EQ(prepared.Run(), "1|2|3|4|0.5|0.25|X'00'|2024-02-29 01:02:03|text|1.75");
    text = "other";
    EXPECT_EQ(prepared.Run(), "1|2|3|4|0.5|0.25|X'00'|2024-02-29 01:02:03|other|1.75");
}

TEST(SQLiteParameters, IndicatorOfMinusOneIsNull) {
    Prepared prepared(Open(":memory:"), "SELECT ?");
    int value = 5;
    long indicator = -1;
    prepared.binding.Bind(DataType::DirectionIn, 1, value, &indicator);
    EXPECT_EQ(prepared.Run(), "NULL");
    indicator = 0;
    EXPECT_EQ(prepared.Run(), "5");
    prepared[0].SetInt(6);  // what was set last counts
    EXPECT_EQ(prepared.Run(), "6");
}

TEST(SQLiteParameters, StorageThatCanNotBeBoundIsRefused) {
    Prepared prepared(Open(":memory:"), "SELECT ?");
    int value = 0;
    const auto bind = [&](DataType::Direction direction, unsigned int ordinal) {
        return FailureOf([&] { prepared.binding.Bind(direction, ordinal, value, nullptr); }).text;
    };
    EXPECT_EQ(bind(DataType::DirectionOut, 1), "SQLite has no output parameters (parameter 1)");
    EXPECT_EQ(bind(DataType::DirectionInOut, 1), "SQLite has no output parameters (parameter 1)");
    EXPECT_EQ(bind(DataType::DirectionIn, 0), "The statement has 1 parameter(s), so there is no 0");
    EXPECT_EQ(bind(DataType::DirectionIn, 2), "The statement has 1 parameter(s), so there is no 2");
    qxtest::OpenResult result(Open(":memory:"), "SELECT 1");
    EXPECT_EQ(FailureOf([&] { result.binding.Bind(DataType::DirectionIn, 1, value, nullptr); }).text,
              "Storage can't be bound at position 1 of this binding");
}

TEST(SQLiteParameters, HintGivesTypes) {
    qxdb::ColumnRecord first;
    first.name = "hinted";
    first.type = Column::BindInt;
    qxdb::ColumnRecord second;
    second.type = Column::BindTimestamp;
    second.dateTimeFormat = "dd.MM.yyyy";
    qxdb::ColumnRecord third;
    third.type = Column::BindTimestamp;
    third.dateTimeFormat = "HH:mm";
    qxdb::Schema hint({std::make_shared<qxdb::ColumnRecord>(first),
                       std::make_shared<qxdb::ColumnRecord>(second),
                       std::make_shared<qxdb::ColumnRecord>(third)});
    qxdb::Statement statement = Open(":memory:").CreateStatement(qxdb::CursorDefault, 1);
    statement.SetBindHint(hint);
    statement.Prepare("SELECT ? || ' ' || :day || ' ' || ? || ?", qxdb::Statement::PrepareSQL);
    EXPECT_EQ(statement.GetBindHint().GetNumberColumns(), 3u);
    qxdb::BindValue binding = statement.Bind();
    const qxdb::Schema schema = binding.GetSchema();
    ASSERT_EQ(schema.GetNumberColumns(), 4u);
    EXPECT_EQ(schema[0].GetName(), "hinted");
    EXPECT_EQ(schema[0].GetType(), Column::BindInt);
    EXPECT_EQ(schema[1].GetName(), "day");
    EXPECT_EQ(schema[1].GetType(), Column::BindTimestamp);
    EXPECT_EQ(schema[3].GetType(), Column::BindUnknown);
    qxdb::Fields fields(binding, false, {}, false, nullptr);
    fields[0].SetInt(1);
    fields[1].SetTimestamp(Moment(0));
    fields[2].SetTimestamp(Moment(0));
    fields[3].SetString("!");
    statement.Execute();
    ASSERT_TRUE(statement.ResultSetAvailable());
    qxdb::Cursor cursor = statement.GetResults(1, "");
    qxdb::BindValue row = cursor.Bind();
    qxdb::Fields values(row, false, {}, false, nullptr);
    ASSERT_TRUE(cursor.Fetch(qxdb::Cursor::DirectionNext, 1));
    EXPECT_EQ(values[0].AsString(), "1 2024-02-29 01:02:03!");
    qxdb::Fields asStrings(binding, true, {}, false, nullptr);
    EXPECT_EQ(asStrings[0].GetType(), Column::BindString);
    qxdb::Fields some(binding, false, {{0, 0}}, false, nullptr);
    EXPECT_EQ(some.GetFieldCount(), 3u);
    EXPECT_EQ(some[0].GetName(), "day");
}

TEST(SQLiteParameters, PrepareRefuses) {
    qxdb::Connection connection = Open(":memory:");
    const auto prepare = [&](const char* sql, qxdb::Statement::PrepareType type) {
        return FailureOf([&] { connection.CreateStatement(qxdb::CursorDefault, 1).Prepare(sql, type); });
    };
    EXPECT_EQ(prepare("p", qxdb::Statement::PrepareProcedure).text, "SQLite has no stored procedures: \"p\"");
    EXPECT_EQ(prepare("f", qxdb::Statement::PrepareFunction).state, "0A000");
    EXPECT_EQ(prepare(" -- nothing", qxdb::Statement::PrepareSQL).text, "There is no statement to prepare");
    const qxtest::Failure failure = prepare("\n SELECT ?,\n nocol", qxdb::Statement::PrepareSQL);
    EXPECT_EQ(failure.text, "no such column: nocol");
    EXPECT_EQ(failure.line, 3);
    EXPECT_EQ(failure.position, 14);
}

TEST(SQLiteParameters, TextBehindAPreparedStatementRunsToo) {
    qxdb::Connection connection = Open(":memory:");
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.Prepare("CREATE TABLE t(a); INSERT INTO t VALUES(1);\nSELECT a FROM t WHERE a = ?",
                      qxdb::Statement::PrepareSQL);
    EXPECT_TRUE(statement.Execute());
    EXPECT_TRUE(statement.ResultSetAvailable());
    EXPECT_EQ(statement.GetResults(1, "").GetRowCount(), 1u);
    const qxtest::Failure failure = FailureOf([&] { statement.ResultSetAvailable(); });
    EXPECT_EQ(failure.text, "Only the first statement of a prepared text may have parameters");
    EXPECT_EQ(failure.line, 2);
}

TEST(SQLiteParameters, StatementWithoutTextHasNoParametersAndNoResult) {
    qxdb::Statement statement = Open(":memory:").CreateStatement(qxdb::CursorDefault, 1);
    EXPECT_EQ(statement.Bind().GetSchema().GetNumberColumns(), 0u);
    EXPECT_EQ(statement.GetBindHint().GetNumberColumns(), 0u);
    EXPECT_TRUE(statement.Execute());
    EXPECT_FALSE(statement.ResultSetAvailable());
}

TEST(SQLiteParameters, FieldsMayOutliveTheStatement) {
    std::unique_ptr<qxdb::Fields> fields;
    {
        Prepared prepared(Open(":memory:"), "SELECT ?");
        fields = std::move(prepared.fields);
    }
    (*fields)[0].SetInt(3);
    EXPECT_EQ((*fields)[0].AsInt(), 3);
}

}  // namespace
