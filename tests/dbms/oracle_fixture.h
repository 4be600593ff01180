// What the tests of the Oracle handler share.
#pragma once

#include <string>

#include "dbms/oracle_handler.h"
#include "family_fixture.h"

namespace qxtest {

// Its plans have the numbers 4711, 4712 and so on.
class CountingOracleHandler : public qxdbsqlengine::OracleHandler {
  public:
    using OracleHandler::OracleHandler;

  protected:
    std::string NewStatementId() override { return std::to_string(next++); }

  private:
    int next = 4711;
};

const char* const Disable = "BEGIN DBMS_OUTPUT.DISABLE; END;";
const char* const Enable = "BEGIN DBMS_OUTPUT.ENABLE; END;";
const char* const GetLine = "BEGIN DBMS_OUTPUT.GET_LINE(:Buffer, :Status); END;";
const char* const ProbeTable = "SELECT COUNT(*) FROM QUILLHAVEN_EXPLAIN_PLAN WHERE 1 = 0";
const char* const ProbeCost = "SELECT COST FROM QUILLHAVEN_EXPLAIN_PLAN WHERE 1 = 0";

const OptionMap showOutput = {{50149, _variant_t(true)}};

class OracleTest : public FamilyTest<CountingOracleHandler, qxdb::DBTYPE_ORACLE> {
  protected:
    void ExpectGoodPlanTable() {
        server.Expect(ProbeTable).Returns(Rows({IntColumn("COUNT(*)")}, {{0}}));
        server.Expect(ProbeCost).Returns(Rows({IntColumn("COST")}, {}));
    }
    // One look for a line of the server's output: the line, or none.
    Step& ExpectLook(const std::string& line, int status) {
        return server.Expect(GetLine)
            .Parameters({MakeParameter("Buffer", qxdb::Column::BindString, qxdb::DataType::DirectionOut),
                         MakeParameter("Status", qxdb::Column::BindInt, qxdb::DataType::DirectionOut)})
            .Output(0, line)
            .Output(1, status);
    }
    Step& ExpectLine(const std::string& line) { return ExpectLook(line, 0); }
    Step& ExpectNoLine() { return ExpectLook("", 1); }

    static std::string ExplainText(const std::string& sql, int number = 4711) {
        return "EXPLAIN PLAN SET STATEMENT_ID='" + std::to_string(number) +
               "' INTO QUILLHAVEN_EXPLAIN_PLAN FOR " + sql;
    }
    static std::string PlanText(int number = 4711) {
        return "SELECT OPERATION,OPTIONS,OBJECT_OWNER,OBJECT_NAME,OBJECT_TYPE,OBJECT_INSTANCE,ID,PARENT_ID,"
               "POSITION, COST, CARDINALITY, BYTES, PARTITION_START, PARTITION_STOP, STATEMENT_ID FROM "
               "QUILLHAVEN_EXPLAIN_PLAN WHERE STATEMENT_ID='" +
               std::to_string(number) + "' ORDER BY id";
    }
    // Before version 8.
    static std::string OldPlanText(int number = 4711) {
        return "SELECT OPERATION,OPTIONS,OBJECT_OWNER,OBJECT_NAME,OBJECT_TYPE,OBJECT_INSTANCE,ID,PARENT_ID,"
               "POSITION, COST, CARDINALITY, BYTES FROM QUILLHAVEN_EXPLAIN_PLAN WHERE STATEMENT_ID='" +
               std::to_string(number) + "' ORDER BY id";
    }
};

}  // namespace qxtest
