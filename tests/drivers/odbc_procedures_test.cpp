// Procedures and functions of real servers: descriptions, inputs, outputs, results.
#include <gtest/gtest.h>

#include "drivers/odbc_prepared.h"

namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdb::Statement;
using qxtest::Described;
using qxtest::FailureOf;
using qxtest::HintOf;
using qxtest::Messages;
using qxtest::OpenMariaDB;
using qxtest::OpenPostgres;
using qxtest::Prepared;
using qxtest::Rows;
using qxtest::RunAll;
using Lines = std::vector<std::string>;
using Results = std::vector<Lines>;

// A procedure or function of the test's own.
class Routine {
  public:
    Routine(qxdb::Connection owner, const std::string& kind, const std::string& name,
            const std::string& definition, const std::string& signature = "")
        : connection(owner), drop("DROP " + kind + " IF EXISTS " + name + signature) {
        RunAll(connection, drop);
        RunAll(connection, "CREATE " + kind + " " + name + definition);
    }
    ~Routine() {
        try {
            RunAll(connection, drop);
        } catch (const Errors&) {
            // The test has failed already.
        }
    }
    Routine(const Routine&) = delete;
    Routine& operator=(const Routine&) = delete;

  private:
    qxdb::Connection connection;
    const std::string drop;
};

// --- MariaDB ---

TEST(MariaDBProcedures, OutputsOfEveryType) {
    struct Case {
        const char* declared;
        const char* value;  // what the procedure sets
        Column::BindType type;
        const char* expected;
    };
    constexpr Case cases[] = {
        {"TINYINT", "-128", Column::BindShort, "-128"},
        {"SMALLINT", "-32768", Column::BindShort, "-32768"},
        {"INT", "-2147483648", Column::BindInt, "-2147483648"},
        {"INT UNSIGNED", "4294967295", Column::BindInt64, "4294967295"},
        {"BIGINT", "9223372036854775807", Column::BindInt64, "9223372036854775807"},
        {"FLOAT", "1.5", Column::BindFloat, "1.5"},
        {"DOUBLE", "0.1e0 + 0.2e0", Column::BindDouble, "0.30000000000000004"},
        {"DECIMAL(65,30)", "-12345678901234567890123456789012345.123456789012345678901234567890",
         Column::BindDecimal, "-12345678901234567890123456789012345.123456789012345678901234567890"},
        {"VARCHAR(100)", "'a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80'", Column::BindString,
         "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"VARCHAR(100)", "''", Column::BindString, ""},
        {"VARBINARY(100)", "x'00FF0D0A27'", Column::BindBinary, "00FF0D0A27"},
        {"DATE", "'2024-02-29'", Column::BindTimestamp, "2024-02-29"},
        {"DATE", "'0000-00-00'", Column::BindTimestamp, "0000-00-00"},
        {"DATETIME", "'0000-00-00'", Column::BindTimestamp, "0000-00-00 00:00:00"},
        {"DATETIME(6)", "'2024-02-29 12:34:56.027111'", Column::BindTimestamp, "2024-02-29 12:34:56.027111"},
        {"TIME", "'-838:59:59'", Column::BindString, "-838:59:59"},
    };
    qxdb::Connection connection = OpenMariaDB();
    RunAll(connection, "SET sql_mode=''");
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.declared) + " " + c.value);
        const std::string type = c.declared;
        const Routine procedure(connection, "PROCEDURE", "give_one",
                                "(a INT, OUT o " + type + ", INOUT io " + type + ", OUT n " + type +
                                    ") BEGIN SET o = io; SET io = " + c.value + "; SET n = NULL; END");
        Prepared call(connection, "give_one", Statement::PrepareProcedure);
        const std::string number = std::to_string(c.type);
        EXPECT_EQ(call.Shape(),
                  (Lines{"a:2:0", "o:" + number + ":1", "io:" + number + ":2", "n:" + number + ":1"}));
        for (int i = 0; i < 2; ++i) {
            call[0].SetInt(1);
            call[2].SetNull();
            EXPECT_EQ(call.Run(), Results());
            EXPECT_EQ(call.Outputs(), (Lines{"NULL", c.expected, "NULL"}));
            // What came out goes in again: the same value arrives in the procedure.
            EXPECT_EQ(call[2].GetType(), c.type);
            EXPECT_EQ(call.Run(), Results());
            EXPECT_EQ(call.Outputs(), (Lines{c.expected, c.expected, "NULL"}));
        }
    }
}

TEST(MariaDBProcedures, OutputsAreReadInTheirTypes) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine procedure(
        connection, "PROCEDURE", "give_typed",
        "(i INT, OUT a SMALLINT, OUT b BIGINT, OUT c DOUBLE, OUT d DECIMAL(20,5), "
        "OUT e VARBINARY(5), OUT f DATETIME) BEGIN SET a = i; SET b = 5000000000; SET c = "
        "2.5; SET d = 7.125; SET e = x'00AB'; SET f = '2024-02-29 01:02:03'; END");
    Prepared call(connection, "give_typed", Statement::PrepareProcedure);
    call[0].SetInt(300);
    call.Run();
    EXPECT_EQ(call[1].AsShort(), 300);
    EXPECT_EQ(call[2].AsBigInt(), 5000000000);
    EXPECT_EQ(FailureOf([&] { call[2].AsInt(); }).text, "Field \"b\" has no AsInt");
    EXPECT_EQ(call[3].AsDouble(), 2.5);
    EXPECT_EQ(call[4].AsDecimal().AsString(false, -1), "7.12500");
    ASSERT_EQ(call[5].GetBuffer().GetLength(), 2u);
    EXPECT_EQ(call[5].GetBuffer().GetBuffer()[1], 0xAB);
    EXPECT_EQ(call[6].AsTimestamp().AsString(), "2024-02-29 01:02:03");
}

TEST(MariaDBProcedures, ResultsComeBeforeTheOutputs) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine procedure(connection, "PROCEDURE", "several_and_outputs",
                            "(n INT, INOUT total INT) BEGIN SELECT seq FROM seq_1_to_5 WHERE seq <= n; "
                            "SELECT 'second' AS s, n AS n; SET total = total + n; END");
    Prepared call(connection, "several_and_outputs", Statement::PrepareProcedure);
    call[0].SetInt(2);
    call[1].SetInt(40);
    EXPECT_EQ(call.Run(), (Results{{"1", "2"}, {"second|2"}}));
    EXPECT_EQ(call.Outputs(), Lines{"42"});
    call[0].SetInt(0);
    EXPECT_EQ(call.Run(), (Results{{}, {"second|0"}}));
    EXPECT_EQ(call.Outputs(), Lines{"42"});
}

// The engine looks for outputs from the second position on, so one at the first is shown behind the others.
TEST(MariaDBProcedures, AnOutputAtTheFirstPositionIsShownBehind) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine out(connection, "PROCEDURE", "first_out", "(OUT a INT, b INT) SET a = b * 2");
    Prepared call(connection, "first_out", Statement::PrepareProcedure);
    EXPECT_EQ(call.Shape(), (Lines{"a:2:1", "b:2:0", "a:2:1"}));
    call[1].SetInt(21);
    call.Run();
    EXPECT_EQ(call[0].AsInt(), 42);
    EXPECT_EQ(call[2].AsInt(), 42);

    const Routine inOut(connection, "PROCEDURE", "first_in_out", "(INOUT a INT) SET a = a + 1");
    Prepared add(connection, "first_in_out", Statement::PrepareProcedure);
    EXPECT_EQ(add.Shape(), (Lines{"a:2:0", "a:2:1"}));
    add[0].SetInt(1);
    add.Run();
    EXPECT_EQ(add[1].AsInt(), 2);
    // The position that shows an output takes no part in the call.
    add[0].SetInt(5);
    add[1].SetInt(100);
    add.Run();
    EXPECT_EQ(add[1].AsInt(), 6);
}

TEST(MariaDBProcedures, FunctionsReturnValues) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine function(connection, "FUNCTION", "glue",
                           "(a VARCHAR(20), b INT) RETURNS VARCHAR(40) DETERMINISTIC RETURN "
                           "IF(b IS NULL, NULL, CONCAT(a, ':', b))");
    Prepared call(connection, "glue", Statement::PrepareFunction);
    EXPECT_EQ(call.Shape(), (Lines{"a:1:0", "b:2:0", "RETURN_VALUE:1:1"}));
    call[0].SetString("\xF0\x9F\x98\x80");
    call[1].SetInt(7);
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), Lines{"\xF0\x9F\x98\x80:7"});
    call[1].SetNull();
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), Lines{"NULL"});

    const Routine none(connection, "FUNCTION", "without", "() RETURNS DECIMAL(10,2) RETURN 1.5");
    Prepared constant(connection, "without", Statement::PrepareFunction);
    EXPECT_EQ(constant.Shape(), (Lines{"RETURN_VALUE:7:1", "RETURN_VALUE:7:1"}));
    constant.Run();
    EXPECT_EQ(constant.Outputs(), (Lines{"1.50", "1.50"}));
}

TEST(MariaDBProcedures, CallTexts) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine procedure(connection, "PROCEDURE", "by_text",
                            "(a INT, OUT b INT, INOUT c VARCHAR(20)) BEGIN SELECT a + 1; SET b = a * 10; "
                            "SET c = CONCAT(c, '!'); END");
    const qxdb::Schema hint =
        HintOf({Described("a", Column::BindInt), Described("b", Column::BindInt, DataType::DirectionOut),
                Described("c", Column::BindString, DataType::DirectionInOut)});
    for (const char* const text :
         {"CALL by_text(?, ?, ?)", "{call by_text(?, ?, ?)}", "call by_text(?,?,?);"}) {
        SCOPED_TRACE(text);
        Prepared call(connection, text, Statement::PrepareSQL, {}, hint);
        EXPECT_EQ(call.Shape(), (Lines{"a:2:0", "b:2:1", "c:1:2"}));
        call[0].SetInt(4);
        call[2].SetString("x");
        EXPECT_EQ(call.Run(), (Results{{"5"}}));
        EXPECT_EQ(call.Outputs(), (Lines{"40", "x!"}));
    }
    // Storage of the caller takes outputs too.
    Prepared call(connection, "CALL by_text(?, ?, ?)");
    int a = 5;
    int b = 0;
    std::string c = "y";
    long indicator = -1;
    qxdb::BasicFixedString<char> text(c, -1, 0);
    call.binding.Bind(DataType::DirectionIn, 1, a, nullptr);
    call.binding.Bind(DataType::DirectionOut, 2, b, &indicator);
    call.binding.Bind(DataType::DirectionInOut, 3, text, nullptr);
    EXPECT_EQ(call.Run(), (Results{{"6"}}));
    EXPECT_EQ(b, 50);
    EXPECT_EQ(indicator, 0);
    EXPECT_EQ(c, "y!");

    const Routine function(connection, "FUNCTION", "twice_by_text", "(n INT) RETURNS INT RETURN n * 2");
    Prepared twice(
        connection, "{? = call twice_by_text(?)}", Statement::PrepareSQL, {},
        HintOf({Described("r", Column::BindInt, DataType::DirectionOut), Described("n", Column::BindInt)}));
    twice[1].SetInt(21);
    EXPECT_EQ(twice.Run(), Results());
    EXPECT_EQ(twice.Outputs(), Lines{"42"});
    // Outputs of what is no call have no way back.
    Prepared select(connection, "SELECT ?", Statement::PrepareSQL, {},
                    HintOf({Described("o", Column::BindInt, DataType::DirectionOut)}));
    EXPECT_EQ(FailureOf([&] { select.Run(); }).text, "MySQL gives outputs to calls only, and this is none");
}

TEST(MariaDBProcedures, NamesOfEveryForm) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine odd(connection, "PROCEDURE", "`odd``name_%`", "(a INT, OUT `b c` INT) SET `b c` = a");
    const Routine similar(connection, "PROCEDURE", "`odd``nameX%`", "(x INT) SELECT x");
    for (const char* const name : {"`odd``name_%`", "qx.`odd``name_%`", "`qx`.`odd``name_%`"}) {
        Prepared call(connection, name, Statement::PrepareProcedure);
        EXPECT_EQ(call.Shape(), (Lines{"a:2:0", "b c:2:1"})) << name;
        call[0].SetInt(3);
        call.Run();
        EXPECT_EQ(call.Outputs(), Lines{"3"}) << name;
    }
    // Letters that the driver takes for halves of pairs, when it counts.
    const std::string letters = "p_letters";
    const Routine accented(connection, "PROCEDURE", letters, "(a\xC3\x98 INT) SELECT a\xC3\x98");
    Prepared call(connection, letters, Statement::PrepareProcedure);
    ASSERT_EQ(call.Shape(), Lines{"a\xC3\x98:2:0"});
    call[0].SetInt(4);
    EXPECT_EQ(call.Run(), (Results{{"4"}}));
}

TEST(MariaDBProcedures, ErrorsAndWarningsOfProcedures) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine procedure(
        connection, "PROCEDURE", "fails_when_told",
        "(a INT, OUT b INT) BEGIN SELECT 1 AS first; IF a = 1 THEN SIGNAL SQLSTATE '45000' "
        "SET MESSAGE_TEXT = 'told', MYSQL_ERRNO = 30001; ELSEIF a = 2 THEN SIGNAL SQLSTATE "
        "'01000' SET MESSAGE_TEXT = 'just a warning'; END IF; SET b = a; END");
    Prepared call(connection, "fails_when_told", Statement::PrepareProcedure);
    call[0].SetInt(1);
    const qxtest::Failure failure = FailureOf([&] { call.Run(); });
    EXPECT_EQ(failure.text, "told");
    EXPECT_EQ(failure.code, 30001);
    EXPECT_EQ(failure.state, "45000");
    Messages messages;
    connection.SetCallback(&messages);
    call[0].SetInt(0);
    EXPECT_EQ(call.Run(), (Results{{"1"}}));
    EXPECT_EQ(call.Outputs(), Lines{"0"});
    EXPECT_TRUE(messages.all.empty());
    const Routine warner(connection, "PROCEDURE", "warns",
                         "() SIGNAL SQLSTATE '01000' SET MESSAGE_TEXT = 'just a warning'");
    messages.all.clear();
    Prepared warn(connection, "warns", Statement::PrepareProcedure);
    EXPECT_EQ(warn.Run(), Results());
    ASSERT_EQ(messages.all.size(), 1u);
    EXPECT_EQ(messages.all[0].text, "just a warning");
    EXPECT_EQ(messages.all[0].severity, 1);
    connection.SetCallback(nullptr);

    Prepared unknown(connection, "no_such_procedure", Statement::PrepareProcedure);
    EXPECT_EQ(FailureOf([&] { unknown.Run(); }).text, "PROCEDURE qx.no_such_procedure does not exist");
}

// MariaDB's procedures have no defaults: what is left out is missed by the server.
TEST(MariaDBProcedures, AnExcludedParameterIsMissedByTheServer) {
    qxdb::Connection connection = OpenMariaDB();
    const Routine procedure(connection, "PROCEDURE", "two_inputs", "(a INT, b INT) SELECT a, b");
    Prepared call(connection, "two_inputs", Statement::PrepareProcedure, {{1, 1}});
    ASSERT_EQ(call.fields->GetFieldCount(), 1u);
    call[0].SetInt(1);
    EXPECT_EQ(FailureOf([&] { call.Run(); }).text,
              "Incorrect number of arguments for PROCEDURE qx.two_inputs; expected 2, got 1");
}

// --- PostgreSQL ---

TEST(PostgresProcedures, OutputsOfProcedures) {
    qxdb::Connection connection = OpenPostgres();
    const Routine procedure(
        connection, "PROCEDURE", "give_some",
        "(a integer, OUT b text, INOUT c numeric, OUT d timestamp) LANGUAGE plpgsql AS $$ "
        "BEGIN b := 'got \xF0\x9F\x98\x80 ' || a; c := c + 0.25; d := '2024-02-29 "
        "01:02:03.5'; END $$");
    Prepared call(connection, "give_some", Statement::PrepareProcedure);
    EXPECT_EQ(call.Shape(), (Lines{"a:2:0", "b:1:1", "c:7:2", "d:11:1"}));
    call[0].SetInt(7);
    call[2].SetDecimal(qxdb::Decimal(std::string("1.5")));
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), (Lines{"got \xF0\x9F\x98\x80 7", "1.75", "2024-02-29 01:02:03.500000"}));
    call[0].SetNull();
    call[2].SetNull();
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), (Lines{"NULL", "NULL", "2024-02-29 01:02:03.500000"}));
}

TEST(PostgresProcedures, FunctionsReturnValues) {
    qxdb::Connection connection = OpenPostgres();
    const Routine function(connection, "FUNCTION", "glue",
                           "(a text, b integer DEFAULT 5, c text DEFAULT 'z') RETURNS text LANGUAGE sql AS "
                           "$$ SELECT a || ':' || b || c $$",
                           "(text, integer, text)");
    Prepared call(connection, "glue", Statement::PrepareFunction);
    EXPECT_EQ(call.Shape(), (Lines{"a:1:0", "b:2:0", "c:1:0", "RETURN_VALUE:1:1"}));
    call[0].SetString("x");
    call[1].SetInt(7);
    call[2].SetString("y");
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), Lines{"x:7y"});
    call[0].SetNull();
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), Lines{"NULL"});
}

TEST(PostgresProcedures, ExcludedParametersHaveTheirDefaults) {
    qxdb::Connection connection = OpenPostgres();
    const Routine function(connection, "FUNCTION", "defaults",
                           "(a text, b integer DEFAULT 5, c text DEFAULT 'z') RETURNS text LANGUAGE sql AS "
                           "$$ SELECT a || ':' || b || c $$",
                           "(text, integer, text)");
    struct Case {
        qxdb::ExclusionIndex excluded;
        const char* expected;
    };
    const Case cases[] = {
        {{}, "x:1q"},
        {{{1, 1}}, "x:5q"},
        {{{2, 2}}, "x:1z"},
        {{{1, 1}, {2, 2}}, "x:5z"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        Prepared call(connection, "defaults", Statement::PrepareFunction, c.excluded);
        unsigned int field = 0;
        call[field++].SetString("x");
        if (c.excluded.count(1) == 0) {
            call[field++].SetInt(1);
        }
        if (c.excluded.count(2) == 0) {
            call[field++].SetString("q");
        }
        EXPECT_EQ(call.Run(), Results());
        EXPECT_EQ(call.Outputs(), Lines{c.expected});
    }
    // One without a default is missed by the server.
    Prepared call(connection, "defaults", Statement::PrepareFunction, {{0, 0}});
    call[0].SetInt(1);
    call[1].SetString("q");
    EXPECT_EQ(FailureOf([&] { call.Run(); }).state, "42883");
}

TEST(PostgresProcedures, FunctionsWithOutputsAndWithRows) {
    qxdb::Connection connection = OpenPostgres();
    const Routine outputs(
        connection, "FUNCTION", "with_outputs",
        "(a integer, OUT b integer, OUT c text) LANGUAGE sql AS $$ SELECT a * 2, 'c' || a $$", "(integer)");
    Prepared call(connection, "with_outputs", Statement::PrepareFunction);
    call[0].SetInt(4);
    EXPECT_EQ(call.Run(), Results());
    EXPECT_EQ(call.Outputs(), (Lines{"8", "c4"}));

    const Routine rows(connection, "FUNCTION", "with_rows",
                       "(n integer) RETURNS TABLE(i integer, t text) LANGUAGE sql AS $$ SELECT s, 'r' || s "
                       "FROM generate_series(1, n) s $$",
                       "(integer)");
    Prepared table(connection, "with_rows", Statement::PrepareFunction);
    table[0].SetInt(3);
    EXPECT_EQ(table.Run(), (Results{{"1|r1", "2|r2", "3|r3"}}));
}

TEST(PostgresProcedures, OneOfSeveralByTheNumberOfParameters) {
    qxdb::Connection connection = OpenPostgres();
    const Routine one(connection, "FUNCTION", "overloaded",
                      "(a integer) RETURNS text LANGUAGE sql AS $$ SELECT 'one ' || a $$", "(integer)");
    const Routine two(connection, "FUNCTION", "overloaded",
                      "(a integer, b integer) RETURNS text LANGUAGE sql AS $$ SELECT 'two ' || a + b $$",
                      "(integer, integer)");
    for (const unsigned int count : {1u, 2u}) {
        Prepared call(connection, "overloaded", Statement::PrepareFunction, {}, qxdb::Schema(), count);
        ASSERT_EQ(call.fields->GetFieldCount(), count + 1);
        for (unsigned int i = 0; i < count; ++i) {
            call[i].SetInt(5);
        }
        call.Run();
        EXPECT_EQ(call.Outputs(), Lines{count == 1 ? "one 5" : "two 10"});
    }
}

TEST(PostgresProcedures, CallTexts) {
    qxdb::Connection connection = OpenPostgres();
    const Routine procedure(connection, "PROCEDURE", "by_text",
                            "(a integer, INOUT b integer) LANGUAGE plpgsql AS $$ BEGIN b := a + b; END $$");
    const qxdb::Schema hint =
        HintOf({Described("a", Column::BindInt), Described("b", Column::BindInt, DataType::DirectionInOut)});
    for (const char* const text : {"CALL by_text(?, ?)", "{call by_text(?, ?)}"}) {
        SCOPED_TRACE(text);
        Prepared call(connection, text, Statement::PrepareSQL, {}, hint);
        call[0].SetInt(40);
        call[1].SetInt(2);
        EXPECT_EQ(call.Run(), Results());
        EXPECT_EQ(call.Outputs(), Lines{"42"});
    }
    // Without outputs that anybody asked for the row is a result.
    Prepared plain(connection, "CALL by_text(?, ?)");
    plain[0].SetInt(1);
    plain[1].SetInt(2);
    EXPECT_EQ(plain.Run(), (Results{{"3"}}));

    const Routine function(connection, "FUNCTION", "twice_by_text",
                           "(n integer) RETURNS integer LANGUAGE sql AS $$ SELECT n * 2 $$", "(integer)");
    Prepared twice(
        connection, "{? = call twice_by_text(?)}", Statement::PrepareSQL, {},
        HintOf({Described("r", Column::BindInt, DataType::DirectionOut), Described("n", Column::BindInt)}));
    twice[1].SetInt(21);
    EXPECT_EQ(twice.Run(), Results());
    EXPECT_EQ(twice.Outputs(), Lines{"42"});
}

TEST(PostgresProcedures, ErrorsOfProcedures) {
    qxdb::Connection connection = OpenPostgres();
    const Routine procedure(
        connection, "PROCEDURE", "fails",
        "(a integer) LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION 'told %', a USING ERRCODE = "
        "'QX002'; END $$");
    Prepared call(connection, "fails", Statement::PrepareProcedure);
    call[0].SetInt(9);
    const qxtest::Failure failure = FailureOf([&] { call.Run(); });
    EXPECT_EQ(failure.text, "ERROR: told 9");
    EXPECT_EQ(failure.state, "QX002");
    Prepared unknown(connection, "no_such_procedure", Statement::PrepareProcedure);
    EXPECT_EQ(FailureOf([&] { unknown.Run(); }).state, "42883");
    EXPECT_EQ(Rows(connection, "SELECT 1"), Lines{"1"});
}

}  // namespace
