// Settings of a director, most of which belong to its request.
#include "engine/director.h"
#include "engine/sql_request_cast.h"

namespace qxdbsqlengine {

namespace {

// What `get` gives for the request, or `otherwise` when it runs no SQL.
template <class Value, class Get>
Value Ask(const RequestPtr& held, Value otherwise, const Get& get) {
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    return sqlRequest != nullptr ? get(*sqlRequest) : otherwise;
}

template <class Set>
void Tell(const RequestPtr& held, const Set& set) {
    if (SQLRequest* const sqlRequest = AsSQLRequest(held)) {
        set(*sqlRequest);
    }
}

}  // namespace

bool CSingleRequestDirector::IsDebugger() {
    return Ask(GetRequest(), false, [](SQLRequest& r) { return r.IsDebugger(); });
}

bool CSingleRequestDirector::IsCancelled() {
    return Ask(GetRequest(), false, [](SQLRequest& r) { return r.IsCancelled(); });
}

void CSingleRequestDirector::ClearStorage() {
    Tell(GetRequest(), [](SQLRequest& r) { r.ClearStorage(); });
}

std::string CSingleRequestDirector::GetSQL() {
    return Ask(GetRequest(), std::string(), [](SQLRequest& r) { return r.GetSQL(); });
}

std::string CSingleRequestDirector::GetDatabase() {
    return Ask(GetRequest(), std::string(), [](SQLRequest& r) { return r.GetDatabase(); });
}

void CSingleRequestDirector::SetDatabase(const std::string& name) {
    Tell(GetRequest(), [&name](SQLRequest& r) { r.SetDatabase(name); });
}

bool CSingleRequestDirector::GetBindAsStrings() {
    return Ask(GetRequest(), false, [](SQLRequest& r) { return r.GetBindAsStrings(); });
}

void CSingleRequestDirector::SetBindAsStrings(bool asStrings) {
    Tell(GetRequest(), [asStrings](SQLRequest& r) { r.SetBindAsStrings(asStrings); });
}

int CSingleRequestDirector::GetMinPrecision() {
    return Ask(GetRequest(), 0, [](SQLRequest& r) { return r.GetMinPrecision(); });
}

int CSingleRequestDirector::GetMaxPrecision() {
    return Ask(GetRequest(), 0, [](SQLRequest& r) { return r.GetMaxPrecision(); });
}

void CSingleRequestDirector::SetPrecisionLimits(int minimum, int maximum) {
    Tell(GetRequest(), [minimum, maximum](SQLRequest& r) { r.SetPrecisionLimits(minimum, maximum); });
}

void CSingleRequestDirector::SetQueryOptions(const OptionMap& defaults, const OptionMap& options) {
    queryDefaultOptions = defaults;
    queryOptions = options;
}

const CSingleRequestDirector::OptionMap& CSingleRequestDirector::GetQueryOptions() {
    return queryOptions;
}

const CSingleRequestDirector::OptionMap& CSingleRequestDirector::GetQueryDefaultOptions() {
    return queryDefaultOptions;
}

void CSingleRequestDirector::SetDoExplainPlan(bool explain) {
    Tell(GetRequest(), [explain](SQLRequest& r) { r.SetDoExplainPlan(explain); });
}

bool CSingleRequestDirector::GetDoExplainPlan() {
    return Ask(GetRequest(), false, [](SQLRequest& r) { return r.GetDoExplainPlan(); });
}

void CSingleRequestDirector::SetExplainPlanAlterSessionUser(const char* user) {
    Tell(GetRequest(), [user](SQLRequest& r) { r.SetExplainPlanAlterSessionUser(user); });
}

const char* CSingleRequestDirector::GetExplainPlanAlterSessionUser() {
    return Ask(GetRequest(), static_cast<const char*>(nullptr),
               [](SQLRequest& r) { return r.GetExplainPlanAlterSessionUser(); });
}

void CSingleRequestDirector::SetUseLobLocators(bool use) {
    Tell(GetRequest(), [use](SQLRequest& r) { r.SetUseLobLocators(use); });
}

bool CSingleRequestDirector::GetUseLobLocators() {
    return Ask(GetRequest(), false, [](SQLRequest& r) { return r.GetUseLobLocators(); });
}

void CSingleRequestDirector::SetLobPreviewSize(int size) {
    Tell(GetRequest(), [size](SQLRequest& r) { r.SetLobPreviewSize(size); });
}

int CSingleRequestDirector::GetLobPreviewSize() {
    return Ask(GetRequest(), 0, [](SQLRequest& r) { return r.GetLobPreviewSize(); });
}

void CSingleRequestDirector::SetLobStreamSize(int size) {
    Tell(GetRequest(), [size](SQLRequest& r) { r.SetLobStreamSize(size); });
}

int CSingleRequestDirector::GetLobStreamSize() {
    return Ask(GetRequest(), 0, [](SQLRequest& r) { return r.GetLobStreamSize(); });
}

void CSingleRequestDirector::SetUseSpecificLobLocatorImpl(bool use) {
    Tell(GetRequest(), [use](SQLRequest& r) { r.SetUseSpecificLobLocatorImpl(use); });
}

int CSingleRequestDirector::GetUseSpecificLobLocatorImpl() {
    return Ask(GetRequest(), 0, [](SQLRequest& r) { return r.GetUseSpecificLobLocatorImpl(); });
}

const RequestStatementProperties& CSingleRequestDirector::GetStatementProperties() {
    return *Ask(GetRequest(), &RequestStatementProperties::Empty(),
                [](SQLRequest& r) { return &r.GetStatementProperties(); });
}

void CSingleRequestDirector::SetStatementProperties(const RequestStatementProperties& properties) {
    Tell(GetRequest(), [&properties](SQLRequest& r) { r.SetStatementProperties(properties); });
}

void CSingleRequestDirector::SetDoPrepare(bool prepare) {
    Tell(GetRequest(), [prepare](SQLRequest& r) { r.SetDoPrepare(prepare); });
}

void CSingleRequestDirector::SetSchema(const qxdb::Schema& schema) {
    Tell(GetRequest(), [&schema](SQLRequest& r) { r.SetSchema(schema); });
}

void CSingleRequestDirector::SetParameters(const ParameterList& parameters) {
    Tell(GetRequest(), [&parameters](SQLRequest& r) { r.SetParameters(parameters); });
}

void CSingleRequestDirector::SetDisplayRowAffected(bool display) {
    Tell(GetRequest(), [display](SQLRequest& r) { r.SetDisplayRowAffected(display); });
}

SmartPtr<DataStorage> CSingleRequestDirector::GetDataStorage() {
    return dataStorage;
}

void CSingleRequestDirector::SetConnectionDefElement(const ConnectionDefElement& def) {
    connectionDef = def;
}

}  // namespace qxdbsqlengine
