// Parameters, procedures and functions of both servers through a director.
#include "servers/server_run.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdb::DataType;
using qxdbsqlengine::Parameter;
using qxdbsqlengine::ParameterList;
using Lines = std::vector<std::string>;

template <class T>
Parameter Value(const std::string& name, Column::BindType type, const T& value,
                DataType::Direction direction = DataType::DirectionIn) {
    Parameter parameter(name, type, direction, 0, 0);
    parameter.Set(value);
    return parameter;
}
Parameter Output(const std::string& name, Column::BindType type) {
    Parameter parameter(name, type, DataType::DirectionOut, 0, 0);
    parameter.SetNull();
    return parameter;
}
ParameterList Named(const std::vector<Parameter>& parameters) {
    ParameterList list;
    list.SetBindMethod(ParameterList::BindByName);
    for (const Parameter& parameter : parameters) {
        list.PushBack(parameter);
    }
    return list;
}

TEST(ServerCalls, ParametersOfAStatement) {
    for (const bool mariadb : {true, false}) {
        SCOPED_TRACE(mariadb ? "MariaDB" : "PostgreSQL");
        qxdb::Connection connection = DefinitionOf(mariadb).Connect();
        const TestTable table(connection, "bound", "a INT, b VARCHAR(20), c DECIMAL(20,5)");
        ServerRun run(mariadb);
        run.director.SetDoPrepare(true);
        ParameterList list;
        list.PushBack(Value("a", Column::BindInt, 5));
        list.PushBack(Value("b", Column::BindString, std::string("\xC3\xA4 '?' \xF0\x9F\x98\x80")));
        list.PushBack(Value("c", Column::BindDecimal, qxdb::Decimal(std::string("1.25"))));
        run.director.SetParameters(list);
        run.Run("INSERT INTO bound VALUES(?, ?, ?)");
        EXPECT_EQ(run.Errors(), Lines());
        EXPECT_EQ(qxtest::Rows(connection, "SELECT * FROM bound"),
                  Lines{"5|\xC3\xA4 '?' \xF0\x9F\x98\x80|1.25000"});
    }
}

TEST(ServerCalls, AProcedureOfMariaDB) {
    qxdb::Connection connection = DefinitionOf(true).Connect();
    RunAll(connection, "DROP PROCEDURE IF EXISTS engine_call");
    RunAll(connection,
           "CREATE PROCEDURE engine_call(a INT, OUT b VARCHAR(40), INOUT c INT) BEGIN SELECT seq FROM "
           "seq_1_to_5 WHERE seq <= a; SELECT 'second' AS s; SET b = CONCAT('got ', a); SET c = c + a; END");
    ServerRun run(true);
    run.director.SetDoPrepare(true);
    run.director.SetParameters(Named({Value("a", Column::BindInt, 2), Output("b", Column::BindString),
                                      Value("c", Column::BindInt, 40, DataType::DirectionInOut)}));
    run.Run("engine_call", ServerRun::SQLRequest::RequestProcedure);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Sets(), (Lines{"0:2", "0:1", "3:1"}));
    EXPECT_EQ(run.Rows(0), (Lines{"1", "2"}));
    EXPECT_EQ(run.Rows(1), Lines{"second"});
    EXPECT_EQ(run.Rows(2), Lines{"got 2|42"});
    RunAll(connection, "DROP PROCEDURE engine_call");
}

TEST(ServerCalls, AFunctionOfMariaDB) {
    qxdb::Connection connection = DefinitionOf(true).Connect();
    RunAll(connection, "DROP FUNCTION IF EXISTS engine_function");
    RunAll(connection, "CREATE FUNCTION engine_function(n INT) RETURNS DECIMAL(10,2) RETURN n * 1.5");
    ServerRun run(true);
    run.director.SetDoPrepare(true);
    run.director.SetParameters(Named({Value("n", Column::BindInt, 3)}));
    run.Run("engine_function", ServerRun::SQLRequest::RequestFunction);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Sets(), Lines{"3:1"});
    EXPECT_EQ(run.Rows(0), Lines{"4.50"});
    RunAll(connection, "DROP FUNCTION engine_function");
}

TEST(ServerCalls, AProcedureAndFunctionsOfPostgres) {
    qxdb::Connection connection = DefinitionOf(false).Connect();
    RunAll(
        connection,
        "CREATE OR REPLACE PROCEDURE engine_call(a integer, OUT b text, INOUT c integer) LANGUAGE plpgsql AS "
        "$$ BEGIN b := 'got ' || a; c := c + a; END $$");
    RunAll(connection,
           "CREATE OR REPLACE FUNCTION engine_function(n integer, f numeric DEFAULT 1.5) RETURNS numeric "
           "LANGUAGE sql AS $$ SELECT n * f $$");
    ServerRun run(false);
    run.director.SetDoPrepare(true);
    run.director.SetParameters(Named({Value("a", Column::BindInt, 2), Output("b", Column::BindString),
                                      Value("c", Column::BindInt, 40, DataType::DirectionInOut)}));
    run.Run("engine_call", ServerRun::SQLRequest::RequestProcedure);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Sets(), Lines{"3:1"});
    EXPECT_EQ(run.Rows(0), Lines{"got 2|42"});
    // A default that is left to the server.
    Parameter left("f", Column::BindDecimal, DataType::DirectionIn, 0, 0);
    left.SetDefault();
    run.director.SetParameters(Named({Value("n", Column::BindInt, 4), left}));
    run.Run("engine_function", ServerRun::SQLRequest::RequestFunction);
    EXPECT_EQ(run.Errors(), Lines());
    EXPECT_EQ(run.Rows(0), Lines{"6.0"});
    RunAll(connection, "DROP PROCEDURE engine_call");
    RunAll(connection, "DROP FUNCTION engine_function");
}

}  // namespace
}  // namespace qxtest
