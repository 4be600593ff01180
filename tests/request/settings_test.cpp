#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>

#include "platform/qxutils/qx_exception.h"
#include "request/request_fixture.h"

namespace qxtest {
namespace {

using qxdbsqlengine::OptionMap;
using qxutils::QXException;

template <class Action>
std::string TextOfQXException(Action action) {
    try {
        action();
    } catch (const QXException& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

// A file in the test's temporary directory, removed at the end.
class TextFile {
  public:
    TextFile(const std::string& name, const std::string& text) : path(::testing::TempDir() + name) {
        std::ofstream(path, std::ios::binary) << text;
    }
    ~TextFile() { std::remove(path.c_str()); }
    const std::string path;
};

class SettingsTest : public RequestTest {};

TEST_F(SettingsTest, Defaults) {
    EXPECT_EQ(request.GetSQL(), "");
    EXPECT_EQ(request.GetDatabase(), "");
    EXPECT_FALSE(request.GetBindAsStrings());
    EXPECT_TRUE(request.GetColumnLabels());
    EXPECT_FALSE(request.GetDoExplainPlan());
    EXPECT_FALSE(request.GetFetchObjectErrors());
    EXPECT_TRUE(request.GetUseLobLocators());
    EXPECT_FALSE(request.GetHandleDBMSOutput());
    EXPECT_EQ(request.GetLobPreviewSize(), 0);
    EXPECT_EQ(request.GetLobStreamSize(), 0);
    EXPECT_EQ(request.GetDBMSOutputBufferSize(), 0);
    EXPECT_EQ(request.GetUseSpecificLobLocatorImpl(), 0);
    EXPECT_EQ(request.GetMinPrecision(), -1);
    EXPECT_EQ(request.GetMaxPrecision(), -1);
    EXPECT_EQ(request.GetMaxRowCount(), 0);
    EXPECT_EQ(request.GetMaxErrorCount(), 0);
    EXPECT_TRUE(request.GetUseGenericParser());
    EXPECT_STREQ(request.GetExplainPlanAlterSessionUser(), "");
    EXPECT_EQ(request.GetUserNameA(), "");
    EXPECT_EQ(request.GetFileName(), "");
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestSQL);
    EXPECT_EQ(request.GetResultSetType(), qxdbsqlengine::ResultSetNormal);
    EXPECT_EQ(request.GetResultSetId(), 0);
    EXPECT_EQ(request.GetBatchItemIndex(), 0);
    EXPECT_EQ(request.GetStatement(), nullptr);
    EXPECT_TRUE(request.GetQueryOptions().empty());
    EXPECT_TRUE(request.GetQueryDefaultOptions().empty());
    EXPECT_TRUE(request.GetColumnDefinition().empty());
    EXPECT_FALSE(request.IsDebugger());
    EXPECT_FALSE(request.IsCancelled());
}

TEST_F(SettingsTest, SettersStore) {
    request.SetDatabase("pubs");
    EXPECT_EQ(request.GetDatabase(), "pubs");
    request.SetBindAsStrings(true);
    EXPECT_TRUE(request.GetBindAsStrings());
    request.SetColumnLabels(false);
    EXPECT_FALSE(request.GetColumnLabels());
    request.SetDoExplainPlan(true);
    EXPECT_TRUE(request.GetDoExplainPlan());
    request.SetFetchObjectErrors(true);
    EXPECT_TRUE(request.GetFetchObjectErrors());
    request.SetUseLobLocators(false);
    EXPECT_FALSE(request.GetUseLobLocators());
    request.SetHandleDBMSOutput(true);
    EXPECT_TRUE(request.GetHandleDBMSOutput());
    request.SetLobPreviewSize(7);
    EXPECT_EQ(request.GetLobPreviewSize(), 7);
    request.SetLobStreamSize(8);
    EXPECT_EQ(request.GetLobStreamSize(), 8);
    request.SetDBMSOutputBufferSize(9);
    EXPECT_EQ(request.GetDBMSOutputBufferSize(), 9);
    request.SetUseSpecificLobLocatorImpl(true);
    EXPECT_EQ(request.GetUseSpecificLobLocatorImpl(), 1);
    request.SetPrecisionLimits(2, 11);
    EXPECT_EQ(request.GetMinPrecision(), 2);
    EXPECT_EQ(request.GetMaxPrecision(), 11);
    request.SetMaxRowCount(12);
    EXPECT_EQ(request.GetMaxRowCount(), 12);
    request.SetMaxErrorCount(13);
    EXPECT_EQ(request.GetMaxErrorCount(), 13);
    request.SetUseGenericParser(false);
    EXPECT_FALSE(request.GetUseGenericParser());
    request.SetExplainPlanAlterSessionUser("scott");
    EXPECT_STREQ(request.GetExplainPlanAlterSessionUser(), "scott");
    request.SetExplainPlanAlterSessionUser(nullptr);
    EXPECT_STREQ(request.GetExplainPlanAlterSessionUser(), "");
}

TEST_F(SettingsTest, QueryOptionsAreReplacedTogether) {
    OptionMap options;
    options[1] = _variant_t(true);
    OptionMap defaults;
    defaults[2] = _variant_t(5);
    request.SetQueryOptions(options, defaults);
    EXPECT_EQ(request.GetQueryOptions(), options);
    EXPECT_EQ(request.GetQueryDefaultOptions(), defaults);
    request.SetQueryOptions(OptionMap(), OptionMap());
    EXPECT_TRUE(request.GetQueryOptions().empty());
    EXPECT_TRUE(request.GetQueryDefaultOptions().empty());
}

TEST_F(SettingsTest, ConstructorTakesTheOptionMapsOptionsFirst) {
    OptionMap options;
    options[1] = _variant_t(true);
    OptionMap defaults;
    defaults[2] = _variant_t(5);
    OpenRequest other(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, options,
                      defaults, nullptr, "/");
    EXPECT_EQ(other.GetQueryOptions(), options);
    EXPECT_EQ(other.GetQueryDefaultOptions(), defaults);
}

TEST_F(SettingsTest, PrepareTypeFollowsTheRequestType) {
    const struct {
        SQLRequest::RequestType type;
        qxdb::Statement::PrepareType expected;
    } cases[] = {
        {SQLRequest::RequestSQL, qxdb::Statement::PrepareSQL},
        {SQLRequest::RequestScript, qxdb::Statement::PrepareSQL},
        {SQLRequest::RequestProcedure, qxdb::Statement::PrepareProcedure},
        {SQLRequest::RequestFunction, qxdb::Statement::PrepareFunction},
    };
    for (const auto& c : cases) {
        request.SetSQL("x", c.type, false, false);
        EXPECT_EQ(request.GetRequestType(), c.type);
        EXPECT_EQ(request.GetPrepareType(), c.expected) << c.type;
    }
}

TEST_F(SettingsTest, UnknownRequestTypeChangesNothing) {
    request.SetSQL("call p", SQLRequest::RequestProcedure, false, false);
    for (const int type : {-1, 4, 100}) {
        EXPECT_EQ(TextOfQXException([&] {
                      request.SetSQL("other", static_cast<SQLRequest::RequestType>(type), false, false);
                  }),
                  "Unknown RequestType");
        EXPECT_EQ(request.GetSQL(), "call p");
        EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestProcedure);
    }
}

TEST_F(SettingsTest, TextFromAFileIsReadAtOnce) {
    const TextFile file("settings_text.sql", "select 1\n  from t\n");
    request.SetSQL(file.path, SQLRequest::RequestSQL, true, false);
    EXPECT_EQ(request.GetSQL(), "select 1\n  from t\n");
    EXPECT_EQ(request.GetFileName(), "");
}

TEST_F(SettingsTest, EmptyFileIsAnEmptyText) {
    const TextFile file("settings_empty.sql", "");
    request.SetSQL("before", SQLRequest::RequestSQL, false, false);
    request.SetSQL(file.path, SQLRequest::RequestFunction, true, false);
    EXPECT_EQ(request.GetSQL(), "");
    EXPECT_EQ(request.GetRequestType(), SQLRequest::RequestFunction);
}

TEST_F(SettingsTest, MissingFileIsNamed) {
    EXPECT_EQ(TextOfQXException(
                  [&] { request.SetSQL("/nowhere/at all.sql", SQLRequest::RequestSQL, true, false); }),
              "Failed to open file : /nowhere/at all.sql");
    EXPECT_EQ(request.GetSQL(), "");
}

TEST_F(SettingsTest, ScriptFileIsOnlyRemembered) {
    request.SetSQL("before", SQLRequest::RequestSQL, false, false);
    request.SetSQL("/nowhere/script.sql", SQLRequest::RequestScript, true, true);
    EXPECT_EQ(request.GetFileName(), "/nowhere/script.sql");
    EXPECT_EQ(request.GetSQL(), "");
    request.SetSQL("go", SQLRequest::RequestScript, false, false);
    EXPECT_EQ(request.GetFileName(), "");
    EXPECT_EQ(request.GetSQL(), "go");
}

TEST_F(SettingsTest, CloneCopiesTheAttributes) {
    request.SetSQL("call p", SQLRequest::RequestProcedure, false, false);
    request.SetBindAsStrings(true);
    request.SetColumnLabels(false);
    request.SetPrecisionLimits(1, 2);
    request.SetDoExplainPlan(true);
    request.SetFetchObjectErrors(true);
    request.SetUseSpecificLobLocatorImpl(true);
    request.SetUseLobLocators(false);
    request.SetHandleDBMSOutput(true);
    request.SetLobPreviewSize(3);
    request.SetLobStreamSize(4);
    request.SetDBMSOutputBufferSize(5);
    request.SetMaxRowCount(6);
    request.SetMaxErrorCount(7);
    request.SetUseGenericParser(false);
    request.SetResultSetType(qxdbsqlengine::ResultSetStatistics);

    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    EXPECT_EQ(clone->GetSQL(), "call p");
    EXPECT_EQ(clone->GetRequestType(), SQLRequest::RequestProcedure);
    EXPECT_TRUE(clone->GetBindAsStrings());
    EXPECT_FALSE(clone->GetColumnLabels());
    EXPECT_EQ(clone->GetMinPrecision(), 1);
    EXPECT_EQ(clone->GetMaxPrecision(), 2);
    EXPECT_TRUE(clone->GetDoExplainPlan());
    EXPECT_TRUE(clone->GetFetchObjectErrors());
    EXPECT_EQ(clone->GetUseSpecificLobLocatorImpl(), 1);
    EXPECT_FALSE(clone->GetUseLobLocators());
    EXPECT_TRUE(clone->GetHandleDBMSOutput());
    EXPECT_EQ(clone->GetLobPreviewSize(), 3);
    EXPECT_EQ(clone->GetLobStreamSize(), 4);
    EXPECT_EQ(clone->GetDBMSOutputBufferSize(), 5);
    EXPECT_EQ(clone->GetMaxRowCount(), 6);
    EXPECT_EQ(clone->GetMaxErrorCount(), 7);
    EXPECT_FALSE(clone->GetUseGenericParser());
    EXPECT_EQ(clone->GetResultSetType(), qxdbsqlengine::ResultSetStatistics);
    EXPECT_EQ(&*clone->GetData(), &*store);
}

TEST_F(SettingsTest, CloneLeavesSomeAttributesBehind) {
    OptionMap options;
    options[1] = _variant_t(true);
    request.SetQueryOptions(options, options);
    request.SetDatabase("pubs");
    request.SetTimestampFormat("yyyy");
    request.SetExplainPlanAlterSessionUser("scott");
    qxdbsqlengine::RequestStatementProperties properties;
    properties.SetMaxRows(3);
    request.SetStatementProperties(properties);
    server.Expect("select 1");
    request.SetSQL("select 1", SQLRequest::RequestSQL, false, false);

    const std::unique_ptr<SQLRequest> clone = request.CloneRequest();
    EXPECT_EQ(clone->GetDatabase(), "");
    EXPECT_STREQ(clone->GetExplainPlanAlterSessionUser(), "");
    EXPECT_TRUE(clone->GetQueryOptions().empty());
    EXPECT_TRUE(clone->GetQueryDefaultOptions().empty());
    EXPECT_TRUE(clone->Execute(Def()));
    EXPECT_EQ(server.Log(), (Lines{"callback off", "callback on", "execute select 1", "callback off"}));
}

TEST_F(SettingsTest, CloneRunsOverItsOwnStoreAndCallbacks) {
    server.Expect("select id from t").Returns(Rows({IntColumn("ID")}, {{1}}));
    request.SetSQL("select id from t", SQLRequest::RequestSQL, false, false);
    const SmartPtr<DataStorage> otherStore = NewStore();
    const SmartPtr<qxdbsqlengine::NotificationCallbacks> otherList(
        new qxdbsqlengine::NotificationCallbacks());
    RecordingCallbacks otherCalls;
    otherCalls.AddTo(*otherList);

    const std::unique_ptr<SQLRequest> clone = request.CloneRequest(otherStore, otherList);
    EXPECT_TRUE(clone->Execute(Def()));
    EXPECT_EQ(otherStore->GetNumberOfResultSets(), 1);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_EQ(calls.Lines(), Lines());
    EXPECT_FALSE(otherCalls.Lines().empty());
    EXPECT_EQ(lender->Calls(), (Lines{"request source true false", "release"}));
}

TEST_F(SettingsTest, ClearStorageForgetsAllButTheRowNotifications) {
    server.Expect("select id from t").Returns(Rows({IntColumn("ID")}, {{1}}));
    Run("select id from t");
    request.GetHandleTypesMap()[0].resize(2);
    request.GetFieldsHandlerMap()[0] = nullptr;
    request.GetRowHandlerMap()[0] = nullptr;
    EXPECT_EQ(request.GetResultSetId(), 1);

    request.ClearStorage();
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
    EXPECT_EQ(request.GetResultSetId(), 0);
    EXPECT_TRUE(request.GetHandleTypesMap().empty());
    EXPECT_TRUE(request.GetFieldsHandlerMap().empty());
    EXPECT_TRUE(request.GetRowHandlerMap().empty());
    EXPECT_EQ(request.GetRowNotificationHandlerMap().size(), 1U);
}

TEST_F(SettingsTest, OnlyStatementPropertiesThatWereSetAreApplied) {
    struct Recorder : qxdb::StatementProperties {
        void SetMaxRows(unsigned int rows) override { lines.push_back("maxrows " + std::to_string(rows)); }
        void SetNoScan(bool noScan) override { lines.push_back("noscan " + std::to_string(noScan)); }
        void SetTimeout(unsigned int seconds) override {
            lines.push_back("timeout " + std::to_string(seconds));
        }
        void SetDescribeOnly(bool only) override { lines.push_back("describe " + std::to_string(only)); }
        void SetExclusionIndex(const std::map<unsigned int, unsigned int>& exclusion) override {
            lines.push_back("exclusion " + std::to_string(exclusion.size()));
        }
        void SetProcParamCount(unsigned int count) override {
            lines.push_back("count " + std::to_string(count));
        }
        void SetShowReturnCode(bool show) override { lines.push_back("show " + std::to_string(show)); }
        bool SupportsProperty(Capabilities) override { return true; }
        Lines lines;
    } recorder;

    qxdbsqlengine::RequestStatementProperties::Empty().ApplyProperties(recorder);
    EXPECT_EQ(recorder.lines, Lines());

    qxdbsqlengine::RequestStatementProperties some;
    some.SetDescribeOnly(false);
    some.SetMaxRows(0);
    some.ApplyProperties(recorder);
    EXPECT_EQ(recorder.lines, (Lines{"maxrows 0", "describe 0"}));

    recorder.lines.clear();
    qxdbsqlengine::RequestStatementProperties all;
    all.SetShowReturnCode(true);
    all.SetProcParamCount(6);
    all.SetExclusionIndex({{1, 1}, {2, 2}});
    all.SetDescribeOnly(true);
    all.SetTimeout(30);
    all.SetNoScan(true);
    all.SetMaxRows(5);
    const qxdbsqlengine::RequestStatementProperties copy(all);
    copy.ApplyProperties(recorder);
    EXPECT_EQ(recorder.lines, (Lines{"maxrows 5", "noscan 1", "timeout 30", "describe 1", "exclusion 2",
                                     "count 6", "show 1"}));
    EXPECT_FALSE(all.SupportsProperty(qxdb::StatementProperties::CapabilityMaxRows));
    EXPECT_FALSE(all.SupportsProperty(qxdb::StatementProperties::CapabilityExclusionIndex));
}

TEST_F(SettingsTest, DataTypeOfEachBindType) {
    using qxdb::Column;
    const struct {
        Column::BindType type;
        qxdbsqlengine::EnumDataType expected;
    } cases[] = {
        {Column::BindUnknown, qxdbsqlengine::DataTypeString},
        {Column::BindString, qxdbsqlengine::DataTypeString},
        {Column::BindInt, qxdbsqlengine::DataTypeInt},
        {Column::BindLong, qxdbsqlengine::DataTypeLong},
        {Column::BindShort, qxdbsqlengine::DataTypeShort},
        {Column::BindFloat, qxdbsqlengine::DataTypeFloat},
        {Column::BindDouble, qxdbsqlengine::DataTypeDouble},
        {Column::BindDecimal, qxdbsqlengine::DataTypeDecimal},
        {Column::BindLob, qxdbsqlengine::DataTypeLob},
        {Column::BindInt64, qxdbsqlengine::DataTypeInt64},
        {Column::BindBinary, qxdbsqlengine::DataTypeBinary},
        {Column::BindTimestamp, qxdbsqlengine::DataTypeTimestamp},
        {Column::BindCursor, qxdbsqlengine::DataTypeString},
        {Column::BindOtherCursor, qxdbsqlengine::DataTypeString},
        {Column::BindOtherString, qxdbsqlengine::DataTypeString},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SQLRequest::GetDataType(c.type), c.expected) << c.type;
}

TEST_F(SettingsTest, NormalResultSetTypes) {
    const bool expected[] = {true, false, false, false, true, true, true};
    for (int type = 0; type < 7; ++type)
        EXPECT_EQ(request.IsNormalResultSetType(static_cast<ResultSetType>(type)), expected[type]) << type;
    EXPECT_FALSE(request.IsNormalResultSetType(static_cast<ResultSetType>(7)));
    EXPECT_FALSE(request.IsNormalResultSetType(static_cast<ResultSetType>(-1)));
}

}  // namespace
}  // namespace qxtest
