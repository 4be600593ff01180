// What a director keeps, forwards and hands on.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "director_support.h"
#include "engine/director.h"

namespace {

using namespace qxdbsqlengine;
using namespace qxtest;
using OptionMap = CSingleRequestDirector::OptionMap;

class DirectorSettingsTest : public DirectorTest {};

// Without a request, and with one that runs no SQL.
class NoSqlTest : public testing::TestWithParam<bool> {
  protected:
    NoSqlTest()
        : director(ConnectionDefElement(qxdb::DBTYPE_ORACLE, "pubs", 1.0, "", ""),
                   ConnectionRequestCallbackPtr(), nullptr, "", false) {
        if (GetParam()) {
            director.SetRequest(RequestPtr(new Request));
        }
    }
    OpenDirector director;
};

TEST_P(NoSqlTest, GettersGiveTheirValues) {
    EXPECT_EQ(static_cast<bool>(director.GetRequest()), GetParam());
    EXPECT_EQ(director.GetSQL(), "");
    EXPECT_EQ(director.GetDatabase(), "");
    EXPECT_FALSE(director.GetBindAsStrings());
    EXPECT_EQ(director.GetMinPrecision(), 0);
    EXPECT_EQ(director.GetMaxPrecision(), 0);
    EXPECT_FALSE(director.GetDoExplainPlan());
    EXPECT_EQ(director.GetExplainPlanAlterSessionUser(), nullptr);
    EXPECT_FALSE(director.GetUseLobLocators());
    EXPECT_EQ(director.GetLobPreviewSize(), 0);
    EXPECT_EQ(director.GetLobStreamSize(), 0);
    EXPECT_EQ(director.GetUseSpecificLobLocatorImpl(), 0);
    EXPECT_EQ(&director.GetStatementProperties(), &RequestStatementProperties::Empty());
    EXPECT_FALSE(director.IsDebugger());
    EXPECT_FALSE(director.IsCancelled());
    EXPECT_FALSE(director.IsExecuting());
    EXPECT_FALSE(director.CheckingObjectErrors());
}

TEST_P(NoSqlTest, SettersAndStartsDoNothing) {
    director.SetDatabase("d");
    director.SetBindAsStrings(true);
    director.SetPrecisionLimits(1, 2);
    director.SetDoExplainPlan(true);
    director.SetExplainPlanAlterSessionUser("u");
    director.SetUseLobLocators(true);
    director.SetLobPreviewSize(1);
    director.SetLobStreamSize(1);
    director.SetUseSpecificLobLocatorImpl(true);
    director.SetStatementProperties(RequestStatementProperties());
    director.SetDoPrepare(true);
    director.SetSchema(qxdb::Schema());
    director.SetParameters(ParameterList());
    director.SetDisplayRowAffected(false);
    director.ClearStorage();
    director.Execute();
    director.Execute("x", SQLRequest::RequestSQL, false, false);
    director.Execute("x", static_cast<SQLRequest::RequestType>(9), false, false);
    director.ReExecute();
    director.FetchObjectErrors("o", "n", "t", false);
    qxdb::Connection connection;
    EXPECT_FALSE(director.ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_FALSE(director.ExecuteDirect(connection, "x", SQLRequest::RequestSQL, false));
    EXPECT_TRUE(director.Cancel());
    EXPECT_EQ(director.CloneDirector(), nullptr);
    EXPECT_EQ(director.engines, 0);
    EXPECT_FALSE(director.GetDoExplainPlan());
    EXPECT_EQ(director.GetDatabase(), "");
}

INSTANTIATE_TEST_SUITE_P(Requests, NoSqlTest, testing::Bool(), [](const testing::TestParamInfo<bool>& kind) {
    return kind.param ? "RequestWithoutSql" : "NoRequest";
});

TEST_F(DirectorSettingsTest, DefaultsAreThoseOfANewRequest) {
    EXPECT_EQ(director->GetSQL(), "");
    EXPECT_EQ(director->GetDatabase(), "");
    EXPECT_FALSE(director->GetBindAsStrings());
    EXPECT_EQ(director->GetMinPrecision(), -1);
    EXPECT_EQ(director->GetMaxPrecision(), -1);
    EXPECT_FALSE(director->GetDoExplainPlan());
    EXPECT_STREQ(director->GetExplainPlanAlterSessionUser(), "");
    EXPECT_TRUE(director->GetUseLobLocators());
    EXPECT_EQ(director->GetLobPreviewSize(), 0);
    EXPECT_EQ(director->GetLobStreamSize(), 0);
    EXPECT_EQ(director->GetUseSpecificLobLocatorImpl(), 0);
    EXPECT_FALSE(director->IsDebugger());
    EXPECT_FALSE(director->IsCancelled());
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 0);
    EXPECT_TRUE(director->GetQueryOptions().empty());
    EXPECT_TRUE(director->GetQueryDefaultOptions().empty());
}

TEST_F(DirectorSettingsTest, SettersReachTheRequest) {
    director->SetDatabase("master");
    director->SetBindAsStrings(true);
    director->SetPrecisionLimits(3, 7);
    director->SetDoExplainPlan(true);
    director->SetExplainPlanAlterSessionUser("scott");
    director->SetUseLobLocators(false);
    director->SetLobPreviewSize(11);
    director->SetLobStreamSize(12);
    director->SetUseSpecificLobLocatorImpl(true);
    EXPECT_EQ(director->GetDatabase(), "master");
    EXPECT_TRUE(director->GetBindAsStrings());
    EXPECT_EQ(director->GetMinPrecision(), 3);
    EXPECT_EQ(director->GetMaxPrecision(), 7);
    EXPECT_TRUE(director->GetDoExplainPlan());
    EXPECT_STREQ(director->GetExplainPlanAlterSessionUser(), "scott");
    EXPECT_FALSE(director->GetUseLobLocators());
    EXPECT_EQ(director->GetLobPreviewSize(), 11);
    EXPECT_EQ(director->GetLobStreamSize(), 12);
    EXPECT_EQ(director->GetUseSpecificLobLocatorImpl(), 1);
    const RequestPtr held = director->GetRequest();
    auto& request = static_cast<SQLRequest&>(*held);
    EXPECT_EQ(request.GetDatabase(), "master");
    EXPECT_TRUE(request.GetDoExplainPlan());
    EXPECT_EQ(&director->GetStatementProperties(), &request.GetStatementProperties());
    director->SetExplainPlanAlterSessionUser(nullptr);
    EXPECT_STREQ(director->GetExplainPlanAlterSessionUser(), "");
}

TEST_F(DirectorSettingsTest, SettingsShapeTheRun) {
    director->SetDisplayRowAffected(false);
    RequestStatementProperties properties;
    properties.SetMaxRows(5);
    director->SetStatementProperties(properties);
    server.Expect("update t").Returns(RowCount(3));
    Execute("update t");
    ASSERT_TRUE(WaitEnd());
    const Lines log = server.Log();
    EXPECT_NE(std::find(log.begin(), log.end(), "maxrows 5"), log.end());
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    for (int rs = 0; rs < store->GetNumberOfResultSets(); ++rs) {
        EXPECT_NE(store->GetString(rs, 0, 0), "3 row(s) affected.");
    }
}

OptionMap Options(unsigned int id, int value) {
    return OptionMap{{id, _variant_t(value)}};
}

TEST_F(DirectorSettingsTest, ConstructorsFillTheMaps) {
    const OptionMap options = Options(1, 10);
    const OptionMap defaults = Options(2, 20);
    const OpenDirector full(def, connections, options, defaults, nullptr, std::string(), true);
    EXPECT_EQ(const_cast<OpenDirector&>(full).GetQueryOptions(), options);
    EXPECT_EQ(const_cast<OpenDirector&>(full).GetQueryDefaultOptions(), defaults);
    const RequestPtr held = const_cast<OpenDirector&>(full).GetRequest();
    EXPECT_EQ(static_cast<SQLRequest&>(*held).GetQueryOptions(), options);
    EXPECT_EQ(static_cast<SQLRequest&>(*held).GetQueryDefaultOptions(), defaults);
}

TEST_F(DirectorSettingsTest, OptionsAreKeptUntilTheStart) {
    const OptionMap options = Options(1, 10);
    const OptionMap defaults = Options(2, 20);
    director->SetQueryOptions(defaults, options);
    EXPECT_EQ(director->GetQueryOptions(), options);
    EXPECT_EQ(director->GetQueryDefaultOptions(), defaults);
    const RequestPtr held = director->GetRequest();
    auto& request = static_cast<SQLRequest&>(*held);
    EXPECT_TRUE(request.GetQueryOptions().empty());
    server.AcceptOthers();
    Execute("x");
    ASSERT_TRUE(WaitEnd(1));
    EXPECT_EQ(request.GetQueryOptions(), options);
    EXPECT_EQ(request.GetQueryDefaultOptions(), defaults);
    const OptionMap later = Options(3, 30);
    director->SetQueryOptions(OptionMap(), later);
    director->ReExecute();
    ASSERT_TRUE(WaitEnd(2));
    EXPECT_EQ(request.GetQueryOptions(), later);
    director->SetQueryOptions(OptionMap(), options);
    ASSERT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(request.GetQueryOptions(), options);
}

TEST_F(DirectorSettingsTest, GivenStoreIsShared) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    OpenDirector sharing(def, store, connections, nullptr, std::string(), true);
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{7}}));
    ASSERT_TRUE(sharing.ExecuteDirect("x", SQLRequest::RequestSQL, false));
    ASSERT_EQ(store.GetNumberOfResultSets(), 1);
    EXPECT_TRUE(sharing.GetQueryOptions().empty());
}

TEST_F(DirectorSettingsTest, StoreOutlivesTheDirector) {
    server.Expect("x").Returns(Rows({IntColumn("A")}, {{7}}));
    ASSERT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    const SmartPtr<DataStorage> store = director->GetDataStorage();
    director.reset();
    ASSERT_EQ(store->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->GetInt(0, 0, 0), 7);
}

TEST_F(DirectorSettingsTest, CloneHasARequestAStoreAndNotificationsOfItsOwn) {
    const OptionMap options = Options(1, 10);
    const OptionMap defaults = Options(2, 20);
    director->SetQueryOptions(defaults, options);
    director->SetDoExplainPlan(true);
    director->SetDatabase("master");
    const RequestPtr held = director->GetRequest();
    static_cast<SQLRequest&>(*held).SetSQL("select a from t", SQLRequest::RequestSQL, false, false);

    const std::unique_ptr<CSingleRequestDirector> clone(director->CloneDirector());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->GetSQL(), "select a from t");
    EXPECT_TRUE(clone->GetDoExplainPlan());
    EXPECT_EQ(clone->GetDatabase(), "");
    EXPECT_EQ(clone->GetQueryOptions(), defaults);
    EXPECT_EQ(clone->GetQueryDefaultOptions(), options);
    EXPECT_NE(GetImpl(clone->GetRequest()), GetImpl(held));

    clone->SetDoExplainPlan(false);
    RecordingCallbacks cloneCalls;
    cloneCalls.RegisterWith(*clone);
    server.Expect("select a from t").Returns(Rows({IntColumn("A")}, {{7}}));
    ASSERT_TRUE(clone->ExecuteDirect("select a from t", SQLRequest::RequestSQL, false));
    EXPECT_EQ(calls.AllLines(), Lines{}) << "callbacks are not cloned";
    EXPECT_FALSE(cloneCalls.AllLines().empty());
    EXPECT_EQ(clone->GetDataStorage()->GetNumberOfResultSets(), 1);
    EXPECT_EQ(director->GetDataStorage()->GetNumberOfResultSets(), 0);
    EXPECT_EQ(lender->Calls(), (Lines{"request pubs true false", "release"}));
}

TEST_F(DirectorSettingsTest, CloneAfterARunCallsNoSchemaReceiver) {
    server.AcceptOthers();
    ASSERT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    const std::unique_ptr<CSingleRequestDirector> clone(director->CloneDirector());
    ASSERT_TRUE(clone->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    const std::unique_ptr<CSingleRequestDirector> second(clone->CloneDirector());
    EXPECT_TRUE(second->ExecuteDirect("x", SQLRequest::RequestSQL, false));
}

TEST_F(DirectorSettingsTest, SchemaReceiverCanBeReplaced) {
    director->RegisterCallback(static_cast<SchemaCallback&>(calls));
    server.AcceptOthers();
    EXPECT_TRUE(director->ExecuteDirect("x", SQLRequest::RequestSQL, false));
    EXPECT_EQ(calls.LinesOf("OnSchemaPrepared"), Lines{});
}

TEST(DirectorTypeTest, IsEightKindsOfCallback) {
    using Director = CSingleRequestDirector;
    static_assert(std::is_base_of<ErrorCallback, Director>::value &&
                      std::is_base_of<MessageCallback, Director>::value &&
                      std::is_base_of<RequestCallback, Director>::value &&
                      std::is_base_of<ExecutionCallback, Director>::value &&
                      std::is_base_of<ResultSetCallback, Director>::value &&
                      std::is_base_of<BatchCallback, Director>::value &&
                      std::is_base_of<LobCallback, Director>::value &&
                      std::is_base_of<DebugEventCallback, Director>::value,
                  "the director receives these");
    static_assert(!std::is_base_of<SchemaCallback, Director>::value, "and no schemas");
    EXPECT_EQ(observerTypeCount, 9);
    EXPECT_EQ(DebugEventObserver, 8);
}

}  // namespace
