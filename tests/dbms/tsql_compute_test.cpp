// Compute rows through whole runs on the two families that have them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dbms/sqlserver_handler.h"
#include "dbms/sybase_handler.h"
#include "tsql_fixture.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxdbsqlengine::CancelledException;
using qxdbsqlengine::SQLServerHandler;
using qxdbsqlengine::SybaseHandler;

template <class HandlerOfFamily, qxdb::DBTYPE TypeOfFamily>
struct Family {
    using Handler = HandlerOfFamily;
    static constexpr qxdb::DBTYPE Type = TypeOfFamily;
};

const char* const Sql = "select dept, name, salary from emp order by dept compute sum(salary) by dept";

template <class FamilyOfTest>
class TsqlComputeTest : public TsqlTest<typename FamilyOfTest::Handler, FamilyOfTest::Type> {
  protected:
    using Base = TsqlTest<typename FamilyOfTest::Handler, FamilyOfTest::Type>;
    using Base::calls;
    using Base::request;
    using Base::server;
    using Base::store;

    static Result Detail(std::vector<Row> rows) {
        return Rows({TextColumn("dept"), TextColumn("name"), IntColumn("salary")}, std::move(rows));
    }
    static Result Sum(int sum) { return ComputeRows({ComputeColumn("sum", Column::BindInt, 3)}, {{sum}}); }

    Lines RowOf(int resultSet, int row = 0) {
        Lines texts;
        for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column)
            texts.push_back(store->AsString(resultSet, row, column, std::locale::classic()));
        return texts;
    }
};

using Families = ::testing::Types<Family<SQLServerHandler, qxdb::DBTYPE_SQLSERVER>,
                                  Family<SybaseHandler, qxdb::DBTYPE_SYBASE>>;
TYPED_TEST_SUITE(TsqlComputeTest, Families, );

TYPED_TEST(TsqlComputeTest, EachGroupHasItsRowsAndItsComputeRow) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}, {"a", "Bob", 2}}))
        .Returns(this->Sum(3))
        .Returns(this->Detail({{"b", "Cid", 4}}))
        .Returns(this->Sum(4))
        .Returns(RowCount(5));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:2", "1:1", "0:1", "1:1", "2:1"}));
    EXPECT_EQ(this->RowOf(0, 1), (Lines{"a", "Bob", "2"}));
    EXPECT_EQ(this->RowOf(1), (Lines{"", "", "3"}));
    EXPECT_EQ(this->RowOf(2), (Lines{"b", "Cid", "4"}));
    EXPECT_EQ(this->RowOf(3), (Lines{"", "", "4"}));
    EXPECT_EQ(this->RowOf(4), (Lines{"5 row(s) affected."}));
    EXPECT_EQ(this->store->GetColumnLabel(3, 2), "sum");
    EXPECT_EQ(this->store->GetColumnLabel(3, 0), "");
    EXPECT_EQ(this->store->GetColumnLabel(2, 0), "dept");
    EXPECT_EQ(this->calls.LinesOf("OnError"), Lines());
    EXPECT_EQ(this->calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0",    "OnExecuteBegin",          "OnExecuteEnd",
                     "OnPreResultSetBegin 0 0", "OnResultSetBegin 0 0",    "OnResultSetUpdate 0 2",
                     "OnResultSetEnd 0",        "OnPreResultSetBegin 1 1", "OnResultSetBegin 1 1",
                     "OnResultSetUpdate 1 1",   "OnResultSetEnd 1",        "OnPreResultSetBegin 2 0",
                     "OnResultSetBegin 2 0",    "OnResultSetUpdate 2 1",   "OnResultSetEnd 2",
                     "OnPreResultSetBegin 3 1", "OnResultSetBegin 3 1",    "OnResultSetUpdate 3 1",
                     "OnResultSetEnd 3",        "OnPreResultSetBegin 4 2", "OnResultSetBegin 4 2",
                     "OnBatchItemEnd 0 0",      "OnResultSetUpdate 4 1",   "OnResultSetEnd 4"}));
}

TYPED_TEST(TsqlComputeTest, OnlyRowsOfTheStatementCountAsLogicalResultSets) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}}))
        .Returns(this->Sum(1))
        .Returns(this->Detail({{"b", "Bob", 2}}));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->request.ResolveLogicalResultSetId(0), 0);
    EXPECT_EQ(this->request.ResolveLogicalResultSetId(2), 1);
    EXPECT_EQ(this->request.ResolveNextLogicalResultSetId(), 2);
    EXPECT_ANY_THROW(this->request.ResolveLogicalResultSetId(1));
}

TYPED_TEST(TsqlComputeTest, TwoAggregatesOnAColumnAreTwoResultSetsOfTheSameRow) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}}))
        .Returns(ComputeRows(
            {ComputeColumn("sum", Column::BindInt, 3), ComputeColumn("avg", Column::BindDouble, 3),
             ComputeColumn("count", Column::BindInt, 2)},
            {{3, 1.5, 2}, {30, 15.0, 20}}));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "1:1", "1:1"}));
    EXPECT_EQ(this->RowOf(1), (Lines{"", "2", "3"}));
    EXPECT_EQ(this->RowOf(2), (Lines{"", "", "1.5"}));
}

TYPED_TEST(TsqlComputeTest, MessagesOfTheDetailRowsStandBetweenThemAndTheComputeRow) {
    Result detail = this->Detail({{"a", "Ann", 1}});
    detail.MessageAtRow(1, ServerMessage(0, 2528, "in the rows"));
    Result sum = this->Sum(1);
    sum.MessageAtRow(0, ServerMessage(0, 3615, "in the sum"));
    this->server.Expect(Sql)
        .Message(ServerMessage(0, 5701, "Changed database context."))
        .Returns(detail)
        .Returns(sum)
        .MessageAfter(ServerMessage(16, 1, "behind"));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "2:1", "1:1", "2:2"}));
    EXPECT_EQ(this->RowOf(1), (Lines{"in the rows"}));
    EXPECT_EQ(this->RowOf(2), (Lines{"", "", "1"}));
    EXPECT_EQ(this->Column(3), (Lines{"in the sum", "behind"}));
    EXPECT_EQ(this->calls.LinesOf("OnMessage"), (Lines{"OnMessage 0 in the rows"}));
    EXPECT_EQ(this->calls.LinesOf("OnError"), (Lines{"OnError behind"}));
}

TYPED_TEST(TsqlComputeTest, ComputeCursorWithoutARowEndsEmpty) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}}))
        .Returns(ComputeRows(
            {ComputeColumn("sum", Column::BindInt, 3), ComputeColumn("avg", Column::BindInt, 3)}, {}))
        .Returns(this->Detail({{"b", "Bob", 2}}));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "1:0", "0:1"}));
}

TYPED_TEST(TsqlComputeTest, LimitOfRowsHoldsForDetailRowsOnly) {
    this->server.Expect(Sql)
        .Does([this] { this->request.SetMaxRowCount(1); })
        .Returns(this->Detail({{"a", "Ann", 1}, {"a", "Bob", 2}}))
        .Returns(this->Sum(3));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "1:1"}));
    EXPECT_EQ(this->RowOf(1), (Lines{"", "", "3"}));
}

TYPED_TEST(TsqlComputeTest, FailureInTheComputeRowEndsTheStatement) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}}))
        .Returns(this->Sum(1).FailsAtRow(0, MakeErrors("arithmetic overflow")))
        .Returns(this->Detail({{"b", "Bob", 2}}));
    EXPECT_TRUE(this->Run(Sql));
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "1:0"}));
    EXPECT_EQ(this->calls.LinesOf("OnError"), (Lines{"OnError arithmetic overflow"}));
    EXPECT_EQ(this->calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1"}));
}

TYPED_TEST(TsqlComputeTest, CancelInTheComputeRowEndsItsResultSet) {
    this->server.Expect(Sql)
        .Returns(this->Detail({{"a", "Ann", 1}}))
        .Returns(this->Sum(1).AtRow(0, [this] { this->request.Cancel(); }))
        .Returns(this->Detail({{"b", "Bob", 2}}));
    EXPECT_THROW(this->Run(Sql), CancelledException);
    EXPECT_EQ(this->Sets(), (Lines{"0:1", "1:1"}));
    EXPECT_EQ(this->calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1"}));
    EXPECT_EQ(this->calls.LinesOf("OnError"), Lines());
}

TYPED_TEST(TsqlComputeTest, CancelAheadOfTheComputeRowTakesNoMore) {
    Result detail = this->Detail({{"a", "Ann", 1}, {"a", "Bob", 2}});
    detail.AtRow(1, [this] { this->request.Cancel(); });
    this->server.Expect(Sql).Returns(detail).Returns(this->Sum(3));
    EXPECT_THROW(this->Run(Sql), CancelledException);
    EXPECT_EQ(this->calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
    EXPECT_EQ(this->store->GetNumberOfResultSets(), 1);
}

}  // namespace
}  // namespace qxtest
