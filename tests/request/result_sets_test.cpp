#include <gmock/gmock.h>

#include "platform/qxutils/qx_exception.h"
#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdb::Column;
using qxutils::QXException;

class ResultSetsTest : public RequestTest {
  protected:
    // Gives every cursor of the statement "x" to `handle`, as the item of a run.
    void ForEachCursor(const std::function<void(qxdb::Cursor&)>& handle,
                       qxdb::DBTYPE type = qxdb::DBTYPE_OTHER) {
        request.items = [&](qxdb::Connection& connection) {
            qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
            statement.SetStatement("x");
            statement.Execute();
            while (statement.ResultSetAvailable()) {
                qxdb::Cursor cursor = statement.GetResults(1, "");
                handle(cursor);
            }
            return true;
        };
        EXPECT_TRUE(Run(type, "x"));
    }
    std::string TextOfResolve(int id) {
        try {
            return std::to_string(request.ResolveLogicalResultSetId(id));
        } catch (const QXException& failure) {
            return failure.what();
        }
    }
    static Result OneColumn(int rows) {
        std::vector<Row> values;
        for (int i = 0; i < rows; ++i)
            values.push_back({i});
        return Rows({IntColumn("A")}, values);
    }
};

TEST_F(ResultSetsTest, ColumnsOfAllTypes) {
    qxdb::ColumnRecord stamp = MakeColumn("T", Column::BindTimestamp, "DATE");
    stamp.dateTimeFormat = "yyyy-MM-dd";
    qxdb::ColumnRecord decimal = MakeColumn("D", Column::BindDecimal, "NUMERIC");
    decimal.scale = 2;
    server.Expect("x").Returns(
        Rows({MakeColumn("S", Column::BindString), MakeColumn("I", Column::BindInt),
              MakeColumn("L", Column::BindLong), MakeColumn("H", Column::BindShort),
              MakeColumn("F", Column::BindFloat), MakeColumn("O", Column::BindDouble), decimal,
              MakeColumn("G", Column::BindInt64), MakeColumn("B", Column::BindBinary), stamp},
             {{"text", 2, 3L, short(4), 5.5F, 6.25, qxdb::Decimal("7.50"), __int64(9000000000),
               qxdb::DynBuffer(2, 2), qxdb::Timestamp("2006-12-31 00:00:00.000")},
              {Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null()}}));
    EXPECT_TRUE(Run("x"));
    const qxdbsqlengine::EnumDataType types[] = {
        qxdbsqlengine::DataTypeString,   qxdbsqlengine::DataTypeInt,   qxdbsqlengine::DataTypeLong,
        qxdbsqlengine::DataTypeShort,    qxdbsqlengine::DataTypeFloat, qxdbsqlengine::DataTypeDouble,
        qxdbsqlengine::DataTypeDecimal,  qxdbsqlengine::DataTypeInt64, qxdbsqlengine::DataTypeBinary,
        qxdbsqlengine::DataTypeTimestamp};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(store->GetDataType(0, i), types[i]) << i;
        EXPECT_TRUE(store->IsNull(0, 1, i)) << i;
    }
    EXPECT_EQ(RowOf(0),
              (Lines{"text", "2", "3", "4", "5.5", "6.25", "7.50", "9000000000", "0000", "2006-12-31"}));
}

TEST_F(ResultSetsTest, BindAsStringsReadsTexts) {
    server.Expect("x").Returns(Rows({IntColumn("A"), MakeColumn("B", Column::BindDouble)}, {{1, 2.5}}));
    request.SetBindAsStrings(true);
    Run("x");
    EXPECT_EQ(store->GetDataType(0, 0), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(store->GetDataType(0, 1), qxdbsqlengine::DataTypeString);
    EXPECT_EQ(RowOf(0), (Lines{"1", "2.5"}));
}

TEST_F(ResultSetsTest, AllResultsOfAStatementAreTaken) {
    server.Expect("x").Returns(OneColumn(2)).Returns(RowCount(7)).Returns(OneColumn(0)).Returns(OneColumn(1));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:2", "2:1", "0:0", "0:1"}));
    EXPECT_EQ(Column(1), (Lines{"7 row(s) affected."}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"),
              (Lines{"OnResultSetEnd 0", "OnResultSetEnd 1", "OnResultSetEnd 2", "OnResultSetEnd 3"}));
}

TEST_F(ResultSetsTest, LogicalNumbersCountTheNormalResultSets) {
    server.Expect("x").Message(Info("m")).Returns(OneColumn(1)).Returns(RowCount(1)).Returns(OneColumn(1));
    Run("x");
    ASSERT_EQ(Sets(), (Lines{"2:1", "0:1", "2:1", "0:1"}));
    EXPECT_EQ(TextOfResolve(0), "ResolveLogicalResultSetId hit wrong resultset type");
    EXPECT_EQ(TextOfResolve(1), "0");
    EXPECT_EQ(TextOfResolve(2), "ResolveLogicalResultSetId hit wrong resultset type");
    EXPECT_EQ(TextOfResolve(3), "1");
    EXPECT_EQ(TextOfResolve(4), "Invalid ResultSet ID  Exception");
    EXPECT_EQ(TextOfResolve(-1), "Invalid ResultSet ID  Exception");
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 2);
}

// What was counted once is not counted again, until the store was emptied.
TEST_F(ResultSetsTest, LogicalNumbersFollowAStoreThatIsEmptied) {
    const auto makeSets = [this](const std::vector<qxdbsqlengine::ResultSetType>& types) {
        for (const qxdbsqlengine::ResultSetType type : types)
            store->AddResultSet({qxdbsqlengine::ColumnDefinition()}, type);
    };
    using namespace qxdbsqlengine;
    makeSets({ResultSetNormal, ResultSetNormal, ResultSetMessage, ResultSetNormal});
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 3);
    EXPECT_EQ(TextOfResolve(1), "1");
    EXPECT_EQ(TextOfResolve(3), "2");
    makeSets({ResultSetNormal});
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 4);
    store->CleanUp();
    makeSets({ResultSetMessage, ResultSetNormal});
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 1);
    EXPECT_EQ(TextOfResolve(1), "0");
    request.ClearStorage();
    makeSets({ResultSetNormal, ResultSetMessage});
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 1);
    EXPECT_EQ(TextOfResolve(0), "0");
}

TEST_F(ResultSetsTest, LogicalNumbersOfAnEmptyStore) {
    EXPECT_EQ(TextOfResolve(0), "Invalid ResultSet ID  Exception");
    EXPECT_EQ(request.ResolveNextLogicalResultSetId(), 0);
}

TEST_F(ResultSetsTest, MaxRowCountEndsAResultSet) {
    server.Expect("x").Returns(OneColumn(25)).Returns(OneColumn(5));
    request.SetMaxRowCount(10);
    // Session options without any option take the limit away before the run.
    request.handlerActions["PreExecuteBatch"] = [&] { request.SetMaxRowCount(10); };
    Run("x");
    EXPECT_EQ(Sets(), (Lines{"0:10", "0:5"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnResultSetBegin 0 0", "OnResultSetUpdate 0 10", "OnResultSetEnd 0",
                     "OnPreResultSetBegin 1 0", "OnResultSetBegin 1 0", "OnResultSetUpdate 1 5",
                     "OnResultSetEnd 1", "OnBatchItemEnd 0 0"}));
}

TEST_F(ResultSetsTest, ProgressGoesByTheIntervals) {
    server.Expect("x").Returns(OneColumn(12));
    request.SetInitialRowInterval(3);
    request.SetRowInterval(4);
    Run("x");
    const std::vector<std::pair<int, bool>> expected = {{0, false}, {1, false},  {2, false}, {3, false},
                                                        {7, false}, {11, false}, {12, true}};
    EXPECT_EQ(request.updates, expected);
}

TEST_F(ResultSetsTest, DefaultIntervalsAre25And200) {
    server.Expect("x").Returns(OneColumn(226));
    Run("x");
    ASSERT_EQ(request.updates.size(), 28U);
    EXPECT_EQ(request.updates[24].first, 24);
    EXPECT_EQ(request.updates[25].first, 25);
    EXPECT_EQ(request.updates[26].first, 225);
    EXPECT_EQ(request.updates[27], std::make_pair(226, true));
}

// The intervals are filed under the number in the store and looked up by the logical one.
TEST_F(ResultSetsTest, BehindAMessageResultSetProgressIsToldAtTheEndOnly) {
    server.Expect("x").Message(Info("m")).Returns(OneColumn(3));
    Run("x");
    ASSERT_EQ(Sets(), (Lines{"2:1", "0:3"}));
    request.updates.erase(request.updates.begin(), request.updates.begin() + 2);  // those of the message
    EXPECT_EQ(request.updates, (std::vector<std::pair<int, bool>>{{3, true}}));
}

TEST_F(ResultSetsTest, TagAndTableName) {
    server.Expect("x").Returns(OneColumn(1)).Returns(OneColumn(1)).Returns(OneColumn(1));
    request.items = nullptr;
    int count = 0;
    ForEachCursor([&](qxdb::Cursor& cursor) {
        request.SetSQL("select a from emp", SQLRequest::RequestSQL, false, false);
        ++count;
        if (count == 1)
            EXPECT_TRUE(request.HandleCursor(cursor, qxdbsqlengine::ResultSetNormal, ""));
        else if (count == 2)
            EXPECT_TRUE(request.HandleCursor(cursor, qxdbsqlengine::ResultSetCursorParameter, "cur"));
        else
            EXPECT_TRUE(request.HandleCursor(cursor, qxdbsqlengine::ResultSetNormal, "named"));
    });
    EXPECT_EQ(Sets(), (Lines{"0:1", "4:1", "0:1"}));
    EXPECT_EQ(store->GetTableName(0), "emp");
    EXPECT_EQ(store->GetTagName(0), "");
    EXPECT_EQ(store->GetTableName(1), "");
    EXPECT_EQ(store->GetTagName(1), "cur");
    EXPECT_EQ(store->GetTableName(2), "");
    EXPECT_EQ(store->GetTagName(2), "named");
}

TEST_F(ResultSetsTest, RowsOfATextThatEndsWithAKeyWordAreKept) {
    server.Expect("call p select").Returns(OneColumn(2));
    EXPECT_TRUE(Run("call p select"));
    EXPECT_EQ(Sets(), (Lines{"0:2"}));
    EXPECT_EQ(store->GetTableName(0), "");
    EXPECT_TRUE(calls.LinesOf("OnError").empty());
}

TEST_F(ResultSetsTest, FailureWhileRowsArriveEndsThatResultSetAndTheStatement) {
    server.Expect("x")
        .Returns(OneColumn(5).FailsAtRow(3, MakeErrors("connection lost")))
        .Returns(OneColumn(1));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnResultSetBegin 0 0", "OnError connection lost", "OnResultSetUpdate 0 3",
                     "OnResultSetEnd 0", "OnBatchItemEnd 0 0"}));
    EXPECT_EQ(request.handlerLog,
              (Lines{"PreExecute", "PreExecuteBatch", "PreExecuteStatement", "DetermineColumnDefs",
                     "HandleResultSet", "PostExecuteStatement", "PostExecuteBatch", "PostExecute"}));
}

TEST_F(ResultSetsTest, FailureInTheMiddleOfARowLeavesItReadable) {
    server.Expect("x").Returns(
        Rows({IntColumn("A"), TextColumn("B"), IntColumn("C")},
             {{1, "a", 10}, {2, FailingCell{MakeErrors("bad value")}, 20}, {3, "c", 30}}));
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError bad value"}));
    ASSERT_EQ(Sets(), (Lines{"0:2"}));
    EXPECT_EQ(RowOf(0, 0), (Lines{"1", "a", "10"}));
    EXPECT_EQ(store->GetInt(0, 1, 0), 2);
    EXPECT_EQ(store->GetString(0, 1, 1), "");
    EXPECT_EQ(store->GetInt(0, 1, 2), 0);
    std::thread([&] { store->AddResultSet({}, qxdbsqlengine::ResultSetNormal); }).join();
}

TEST_F(ResultSetsTest, FailureWhileColumnsAreDescribedMakesNoResultSet) {
    server.Expect("x").Returns(OneColumn(1)).Returns(OneColumn(1));
    int described = 0;
    request.handlerActions["DetermineColumnDefs"] = [&] {
        if (++described == 2)
            throw MakeErrors("no description");
    };
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.Lines(),
              (Lines{"OnBatchItemBegin 0 0", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 0",
                     "OnResultSetBegin 0 0", "OnResultSetUpdate 0 1", "OnResultSetEnd 0",
                     "OnPreResultSetBegin 1 0", "OnError no description", "OnBatchItemEnd 0 0"}));
}

TEST_F(ResultSetsTest, FailureOfTheBindingEndsTheItem) {
    server.Expect("x").Returns(OneColumn(1).AtBind([] { throw MakeErrors("no binding"); }));
    EXPECT_FALSE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"2:1"}));
    EXPECT_EQ(Column(0), (Lines{"no binding"}));
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no binding"}));
}

TEST_F(ResultSetsTest, ObjectErrorsGoIntoTheOpenResultSet) {
    server.Expect("x").Returns(OneColumn(3)).Returns(RowCount(4));
    request.SetFetchObjectErrors(true);
    int count = 0;
    ForEachCursor(
        [&](qxdb::Cursor& cursor) {
            if (++count == 1) {
                request.GetColumnDefinition().assign(1, qxdbsqlengine::ColumnDefinition());
                request.GetColumnDefinition()[0].dataType = qxdbsqlengine::DataTypeInt;
                request.NotifyPreResultSetBegin(qxdbsqlengine::ResultSetNormal);
                request.NotifyResultSetBegin(nullptr);
            }
            EXPECT_TRUE(request.HandleCursor(cursor, qxdbsqlengine::ResultSetNormal, ""));
        },
        qxdb::DBTYPE_ORACLE);
    EXPECT_EQ(Sets(), (Lines{"0:3"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), Lines());
    EXPECT_THAT(request.handlerLog, testing::Not(testing::Contains("DetermineColumnDefs")));
    EXPECT_EQ(calls.LinesOf("OnError"), Lines());
    request.NotifyResultSetEnd();
}

TEST_F(ResultSetsTest, FailureOfTheObjectErrorsIsToldAndReadingGoesOn) {
    server.Expect("x").Returns(OneColumn(1));
    request.SetFetchObjectErrors(true);
    request.handlerActions["HandleResultSet"] = [] { throw MakeErrors("no rows"); };
    ForEachCursor(
        [&](qxdb::Cursor& cursor) {
            EXPECT_TRUE(request.HandleCursor(cursor, qxdbsqlengine::ResultSetNormal, ""));
        },
        qxdb::DBTYPE_ORACLE);
    EXPECT_EQ(calls.LinesOf("OnError"), (Lines{"OnError no rows"}));
}

TEST_F(ResultSetsTest, ObjectErrorsAreOraclesAlone) {
    server.Expect("x").Returns(OneColumn(1));
    request.SetFetchObjectErrors(true);
    EXPECT_TRUE(Run("x"));
    EXPECT_EQ(Sets(), (Lines{"0:1"}));
    EXPECT_EQ(calls.LinesOf("OnResultSetEnd"), (Lines{"OnResultSetEnd 0"}));
}

class CompressTest : public ResultSetsTest {
  protected:
    // A store with one result set of the given types, and the same one open in the request's store.
    void Open(const std::vector<qxdbsqlengine::EnumDataType>& types) {
        std::vector<qxdbsqlengine::ColumnDefinition> definitions(types.size());
        for (std::size_t i = 0; i < types.size(); ++i)
            definitions[i].dataType = types[i];
        details = NewStore();
        details->AddResultSet(definitions, qxdbsqlengine::ResultSetNormal);
        request.GetColumnDefinition() = definitions;
        request.SetResultSetType(qxdbsqlengine::ResultSetNormal);
        request.NotifyResultSetBegin(nullptr);
    }
    void AddNameAndNumber(const std::string& name, int number) {
        details->InsertString(0, 0, name);
        details->InsertInt(0, 1, number);
    }

    SmartPtr<DataStorage> details;
};

TEST_F(CompressTest, RowsRollUpWhenTheKeyChanges) {
    Open({qxdbsqlengine::DataTypeString, qxdbsqlengine::DataTypeInt});
    const std::vector<int> keys = {0};
    AddNameAndNumber("a", 1);
    EXPECT_EQ(request.CompressOnColumns(0, *details, false, 1, keys), 0);
    AddNameAndNumber("a", 2);
    EXPECT_EQ(request.CompressOnColumns(0, *details, false, 2, keys), 0);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
    AddNameAndNumber("b", 4);
    EXPECT_EQ(request.CompressOnColumns(0, *details, false, 3, keys), 2);
    EXPECT_EQ(RowOf(0, 0), (Lines{"a", "3"}));
    AddNameAndNumber("c", 8);
    EXPECT_EQ(request.CompressOnColumns(2, *details, false, 4, keys), 3);
    EXPECT_EQ(RowOf(0, 1), (Lines{"b", "4"}));
    EXPECT_EQ(request.CompressOnColumns(3, *details, true, 4, keys), 4);
    EXPECT_EQ(RowOf(0, 2), (Lines{"c", "8"}));
    EXPECT_EQ(store->GetNumberOfRows(0), 3);
}

TEST_F(CompressTest, NothingToRollUp) {
    Open({qxdbsqlengine::DataTypeString, qxdbsqlengine::DataTypeInt});
    EXPECT_EQ(request.CompressOnColumns(0, *details, true, 0, {0}), 0);
    AddNameAndNumber("a", 1);
    AddNameAndNumber("b", 2);
    // Without keys nothing changes before the end.
    EXPECT_EQ(request.CompressOnColumns(0, *details, false, 2, {}), 0);
    EXPECT_EQ(store->GetNumberOfRows(0), 0);
    EXPECT_EQ(request.CompressOnColumns(0, *details, true, 2, {}), 2);
    EXPECT_EQ(RowOf(0), (Lines{"a", "3"}));
}

TEST_F(CompressTest, EveryTypeRollsUpInItsWay) {
    using namespace qxdbsqlengine;
    Open({DataTypeString, DataTypeShort, DataTypeInt, DataTypeLong, DataTypeInt64, DataTypeFloat,
          DataTypeDouble, DataTypeDecimal, DataTypeBinary, DataTypeTimestamp, DataTypeNamedType});
    const char* const stamps[] = {"2006-01-01 00:00:00.000", "2008-01-01 00:00:00.000",
                                  "2007-01-01 00:00:00.000"};
    for (int i = 0; i < 3; ++i) {
        details->InsertString(0, 0, std::string(1, static_cast<char>('p' + i)));
        details->InsertShort(0, 1, short(20000));
        details->InsertInt(0, 2, 1000000000);
        details->InsertLong(0, 3, 5L);
        details->InsertInt64(0, 4, __int64(4000000000));
        details->InsertFloat(0, 5, 0.5F);
        details->InsertDouble(0, 6, 0.25);
        details->InsertDecimal(0, 7, qxdb::Decimal("1.05"));
        details->InsertBinary(0, 8, qxdb::DynBuffer(1, 1));
        details->InsertTimestamp(0, 9, qxdb::Timestamp(stamps[i]));
        details->InsertString(0, 10, "object");
    }
    EXPECT_EQ(request.CompressOnColumns(0, *details, true, 3, {}), 3);
    EXPECT_EQ(store->GetString(0, 0, 0), "p");
    EXPECT_EQ(store->GetShort(0, 0, 1), static_cast<short>(60000 - 65536));
    EXPECT_EQ(store->GetInt(0, 0, 2), static_cast<int>(3000000000U));
    EXPECT_EQ(store->GetLong(0, 0, 3), 15L);
    EXPECT_EQ(store->GetInt64(0, 0, 4), __int64(12000000000));
    EXPECT_EQ(store->GetFloat(0, 0, 5), 1.5F);
    EXPECT_EQ(store->GetDouble(0, 0, 6), 0.75);
    EXPECT_EQ(store->GetDecimal(0, 0, 7).AsString(false, -1), "3.15");
    EXPECT_EQ(store->AsString(0, 0, 8, std::locale::classic()), "");
    EXPECT_EQ(store->GetTimestamp(0, 0, 9).GetYear(), 2008);
    EXPECT_EQ(store->GetString(0, 0, 10), "");
    EXPECT_EQ(store->GetNumberOfRows(0), 1);
    std::thread([&] { store->AddResultSet({}, ResultSetNormal); }).join();
}

TEST_F(CompressTest, CopyDataCopiesARowByTypes) {
    using namespace qxdbsqlengine;
    const std::vector<EnumDataType> types = {
        DataTypeString, DataTypeShort,   DataTypeInt,    DataTypeLong,      DataTypeInt64,     DataTypeFloat,
        DataTypeDouble, DataTypeDecimal, DataTypeBinary, DataTypeTimestamp, DataTypeNamedType, DataTypeInt};
    Open(types);
    details->InsertString(0, 0, "text");
    details->InsertShort(0, 1, short(1));
    details->InsertInt(0, 2, 2);
    details->InsertLong(0, 3, 3L);
    details->InsertInt64(0, 4, __int64(4));
    details->InsertFloat(0, 5, 5.0F);
    details->InsertDouble(0, 6, 6.0);
    details->InsertDecimal(0, 7, qxdb::Decimal("7"));
    details->InsertBinary(0, 8, qxdb::DynBuffer(1, 1));
    details->InsertTimestamp(0, 9, qxdb::Timestamp("2006-01-01 00:00:00.000"));
    details->InsertString(0, 10, "object");
    details->InsertNull(0, 11);
    OpenRequest::CopyData(*details, *store, 0, 0, 0, 0, 12, 0);
    for (int column = 0; column < 12; ++column) {
        EXPECT_EQ(store->AsString(0, 0, column, std::locale::classic()),
                  details->AsString(0, 0, column, std::locale::classic()))
            << column;
    }
    EXPECT_TRUE(store->IsNull(0, 0, 11));

    // A part of the columns, elsewhere.
    std::vector<ColumnDefinition> definitions(2);
    definitions[1].dataType = DataTypeShort;
    const int other = store->AddResultSet(definitions, ResultSetNormal);
    OpenRequest::CopyData(*details, *store, 0, other, 0, 0, 2, 0);
    OpenRequest::CopyData(*details, *store, 0, other, 0, 10, 11, 0);
    OpenRequest::CopyData(*details, *store, 0, other, 0, 1, 2, 1);
    EXPECT_EQ(RowOf(other, 0), (Lines{"text", "1"}));
    EXPECT_EQ(RowOf(other, 1), (Lines{"object", "1"}));
}

}  // namespace
}  // namespace qxtest
