#include "engine/director.h"

#include <sstream>

#include "engine/force_cancel_thread.h"
#include "engine/sql_request_cast.h"
#include "platform/os/debug_output.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"

namespace qxdbsqlengine {

namespace {

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

// A destroyed director waits this long for another thread to leave the director's own callbacks, which do not
// block as long as they count (see LeaveCall).
constexpr long leaveCallbacksMs = 10000;

std::string ObjectErrorsQuery(const char* owner, const char* name, const char* type, bool useDba) {
    std::ostringstream sql;
    sql << "SELECT LINE, POSITION, TEXT FROM " << (useDba ? "SYS.DBA" : "ALL") << "_ERRORS WHERE ";
    const char* conjunction = "";
    if (owner != nullptr) {
        sql << "OWNER = '" << owner << "' ";
        conjunction = "AND ";
    }
    if (name != nullptr) {
        sql << conjunction << "NAME = '" << name << "' ";
        conjunction = "AND ";
    }
    sql << conjunction << "TYPE = '" << (type != nullptr ? type : "") << "' ORDER BY LINE, POSITION";
    return sql.str();
}

}  // namespace

CSingleRequestDirector::CSingleRequestDirector(const ConnectionDefElement& def,
                                               const ConnectionRequestCallbackPtr& connections,
                                               const OptionMap& options, const OptionMap& defaultOptions,
                                               SchemaCallback* schema, std::string batchSeparator,
                                               bool createRequest)
    : notificationCallbacks(new NotificationCallbacks()),
      schemaCallback(schema),
      connectionRequestCallback(connections),
      dataStorage(new DataStorage(DataStorage::CreateResultsStorage(false))),
      connectionDef(def),
      queryOptions(options),
      queryDefaultOptions(defaultOptions) {
    Initialize(batchSeparator, createRequest);
}

CSingleRequestDirector::CSingleRequestDirector(const ConnectionDefElement& def,
                                               const ConnectionRequestCallbackPtr& connections,
                                               SchemaCallback* schema, std::string batchSeparator,
                                               bool createRequest)
    : CSingleRequestDirector(def, connections, OptionMap(), OptionMap(), schema, std::move(batchSeparator),
                             createRequest) {}

CSingleRequestDirector::CSingleRequestDirector(const ConnectionDefElement& def, const DataStorage& store,
                                               const ConnectionRequestCallbackPtr& connections,
                                               SchemaCallback* schema, std::string batchSeparator,
                                               bool createRequest)
    : notificationCallbacks(new NotificationCallbacks()),
      schemaCallback(schema),
      connectionRequestCallback(connections),
      dataStorage(new DataStorage(store)),
      connectionDef(def) {
    Initialize(batchSeparator, createRequest);
}

void CSingleRequestDirector::Initialize(const std::string& batchSeparator, bool createRequest) {
    if (createRequest) {
        SetRequest(
            RequestPtr(new SQLRequest(notificationCallbacks, connectionRequestCallback, dataStorage,
                                      queryOptions, queryDefaultOptions, schemaCallback, batchSeparator)));
    }
}

CSingleRequestDirector::~CSingleRequestDirector() {
    LeaveRun();
    request.reset();
}

void CSingleRequestDirector::LeaveRun() {
    *silent = true;
    try {
        Clear();
        CSingleRequestDirector::Cancel();
        // A call of this object that had begun before Clear may still be running on the engine thread.
        notificationCallbacks->WaitForCalls(
            {static_cast<ErrorCallback*>(this), static_cast<MessageCallback*>(this),
             static_cast<RequestCallback*>(this), static_cast<ExecutionCallback*>(this),
             static_cast<ResultSetCallback*>(this), static_cast<BatchCallback*>(this),
             static_cast<LobCallback*>(this), static_cast<DebugEventCallback*>(this)},
            leaveCallbacksMs);
    } catch (...) {
        qxos::OutputDebugStringA("A director could not leave its run in order.");
    }
}

bool CSingleRequestDirector::ExecuteDirect(qxdb::Connection& connection, const std::string& sql,
                                           RequestType type, bool fromFile) {
    return RunDirect(sql, type, fromFile,
                     [this, &connection](Request& run) { return run.Execute(connectionDef, connection); });
}

bool CSingleRequestDirector::ExecuteDirect(const std::string& sql, RequestType type, bool fromFile) {
    return RunDirect(sql, type, fromFile, [this](Request& run) { return run.Execute(connectionDef); });
}

// A failure leaves `executing` set: the caller has to find out what became of the connection before this
// director runs anything again.
template <class Run>
bool CSingleRequestDirector::RunDirect(const std::string& sql, RequestType type, bool fromFile,
                                       const Run& run) {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (executing || sqlRequest == nullptr) {
        return false;
    }
    const Guard guard(lock);
    if (executing) {
        return false;
    }
    forceCancelStarted = false;
    RegisterSelf();
    HandOverOptions(*sqlRequest);
    sqlRequest->SetFetchObjectErrors(false);
    sqlRequest->SetSQL(sql, type, fromFile, false);
    executing = true;
    const bool result = run(*sqlRequest);
    executing = false;
    return result;
}

void CSingleRequestDirector::Execute() {
    const RequestPtr held = GetRequest();
    if (executing || AsSQLRequest(held) == nullptr) {
        return;
    }
    const Guard guard(lock);
    if (executing) {
        return;
    }
    forceCancelStarted = false;
    RegisterSelf();
    // A cancel that sees the flag below finds the engine of this run, not the one before it.
    const Guard starting(engineLock);
    // Set before the request is queued: the end of a very short run, which clears the flag, must not come
    // before.
    executing = true;
    try {
        QueueRequest();
    } catch (...) {
        executing = false;
        throw;
    }
}

void CSingleRequestDirector::Execute(const std::string& sql, RequestType type, bool fromFile,
                                     bool deleteFile) {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (executing || sqlRequest == nullptr) {
        return;
    }
    forceCancelStarted = false;
    HandOverOptions(*sqlRequest);
    sqlRequest->SetFetchObjectErrors(false);
    sqlRequest->SetSQL(sql, type, fromFile, deleteFile);
    Execute();
}

void CSingleRequestDirector::FetchObjectErrors(const char* owner, const char* name, const char* type,
                                               bool useDba) {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (executing || sqlRequest == nullptr || connectionDef.GetDBType() != qxdb::DBTYPE_ORACLE) {
        return;
    }
    HandOverOptions(*sqlRequest);
    sqlRequest->SetFetchObjectErrors(true);
    sqlRequest->SetSQL(ObjectErrorsQuery(owner, name, type, useDba), SQLRequest::RequestSQL, false, false);
    Execute();
}

void CSingleRequestDirector::ReExecute() {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (executing || sqlRequest == nullptr) {
        return;
    }
    HandOverOptions(*sqlRequest);
    sqlRequest->SetFetchObjectErrors(false);
    Execute();
}

bool CSingleRequestDirector::Cancel() {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (!executing || sqlRequest == nullptr) {
        return true;
    }
    const ThreadPtr<IEngine> running = CurrentEngine();
    // A cancel that is stuck in the driver leaves the run under way, so that a further cancel gets through.
    // The flag is then left alone: the run may have ended meanwhile, and have cleared it.
    if (sqlRequest->Cancel()) {
        executing = false;
    }
    WatchCancelledRun(running, held);
    return true;
}

// A run without an engine is one on its caller's own thread, which nobody can give up.
void CSingleRequestDirector::WatchCancelledRun(const ThreadPtr<IEngine>& running, const RequestPtr& held) {
    if (!running || forceCancelStarted.exchange(true)) {
        return;
    }
    const ThreadPtr<ForceCancelThread> watchdog = ForceCancelThread::Create();
    if (watchdog) {
        watchdog->Start(running, held);
    } else {
        forceCancelStarted = false;
    }
}

CSingleRequestDirector* CSingleRequestDirector::CloneDirector() {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    if (sqlRequest == nullptr) {
        return nullptr;
    }
    // The two maps change places in a clone; callers rely on it.
    auto clone = std::make_unique<CSingleRequestDirector>(connectionDef, connectionRequestCallback,
                                                          queryDefaultOptions, queryOptions, schemaCallback,
                                                          std::string(), false);
    clone->SetRequest(
        RequestPtr(sqlRequest->CloneRequest(clone->dataStorage, clone->notificationCallbacks).release()));
    return clone.release();
}

RequestPtr CSingleRequestDirector::GetRequest() {
    return request ? *request : RequestPtr();
}

void CSingleRequestDirector::SetRequest(const RequestPtr& newRequest) {
    request = std::make_unique<RequestPtr>(newRequest);
}

bool CSingleRequestDirector::IsExecuting() {
    const ThreadPtr<IEngine> current = CurrentEngine();
    return current && current->IsExecuting();
}

bool CSingleRequestDirector::CheckingObjectErrors() {
    const RequestPtr held = GetRequest();
    SQLRequest* const sqlRequest = AsSQLRequest(held);
    return executing && sqlRequest != nullptr && sqlRequest->GetFetchObjectErrors();
}

ThreadPtr<IEngine> CSingleRequestDirector::CurrentEngine() {
    const Guard guard(engineLock);
    return engine;
}

ThreadPtr<IEngine> CSingleRequestDirector::CreateEngine() {
    return Engine::Create();
}

ThreadPtr<IEngine> CSingleRequestDirector::GetEngine() {
    const Guard guard(engineLock);
    // An engine whose run has ended was stopped and takes nothing more, even while its thread still winds up.
    if (!engine || !engine->Initialized() || engine->ExecutionCompleted() || runEnded) {
        engine = CreateEngine();
        runEnded = false;
        if (engine) {
            engine->Start(connectionDef);
        }
    }
    return engine;
}

void CSingleRequestDirector::ReleaseEngine() {
    const ThreadPtr<IEngine> current = CurrentEngine();
    if (current && current->Initialized() && !current->ExecutionCompleted()) {
        current->Stop(false);
    }
}

void CSingleRequestDirector::QueueRequest() {
    RequestPtr held = GetRequest();
    if (!held) {
        return;
    }
    const ThreadPtr<IEngine> current = GetEngine();
    if (!current) {
        throw qxutils::QXException("Unable to start an engine thread");
    }
    static_cast<EngineT<RequestPtr>*>(current.operator->())->QueueRequest(held);
}

void CSingleRequestDirector::HandOverOptions(SQLRequest& sqlRequest) {
    sqlRequest.SetQueryOptions(queryOptions, queryDefaultOptions);
}

void CSingleRequestDirector::RegisterSelf() {
    RegisterCallback(static_cast<ErrorCallback&>(*this));
    RegisterCallback(static_cast<MessageCallback&>(*this));
    RegisterCallback(static_cast<RequestCallback&>(*this));
    RegisterCallback(static_cast<ExecutionCallback&>(*this));
    RegisterCallback(static_cast<ResultSetCallback&>(*this));
    RegisterCallback(static_cast<BatchCallback&>(*this));
    RegisterCallback(static_cast<LobCallback&>(*this));
    RegisterCallback(static_cast<DebugEventCallback&>(*this));
    // A director is no receiver of schemas. Its address only marks the slot as taken over by a run: a clone
    // gets it, and nobody may call it.
    RegisterCallback(reinterpret_cast<SchemaCallback&>(*this));
}

}  // namespace qxdbsqlengine
