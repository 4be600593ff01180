// The class that callers of the library work with.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/callbacks.h"
#include "engine/connection_request.h"
#include "engine/engine.h"
#include "engine/notification.h"
#include "engine/observers.h"
#include "params/parameter_list.h"
#include "platform/export.h"
#include "platform/os/variant.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "platform/qxutils/critical_section.h"
#include "platform/qxutils/read_write_lock.h"
#include "platform/smart_ptr.h"
#include "request/sql_request.h"
#include "request/statement_properties.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

// Binds one connection definition, one request, one results store and one notification list together, and
// runs the request on a thread of its own: a call starts it and returns, rows arrive in the store, progress
// arrives in the callbacks, and OnRequestEnd ends the run. The same director can then run again.
//
// Threads: operations may be called from any thread, also from callbacks; one caller at a time starts runs.
// The callbacks of its bases come on the thread of the run and are not for callers.
//
// Ownership: the director shares the store, the notification list and the connection callback with its
// request, and a run holds references of its own; so a director may be destroyed at any moment, which cancels
// its run and ends the notifications. Registered callbacks are not owned: they are unregistered, or the
// director destroyed, before they go.
//
// Failures: a start that is refused (a run is under way, or the request runs no SQL) does nothing. A failure
// of a run arrives as OnError, then OnRequestEnd. "Unable to acquire lock!" (std::runtime_error) can leave
// every operation that starts, registers or clears.
//
// Forwarding setters do nothing, and getters give the value stated, when the request runs no SQL.
class QXSENG2_API CSingleRequestDirector : public ErrorCallback,
                                           public MessageCallback,
                                           public RequestCallback,
                                           public ExecutionCallback,
                                           public ResultSetCallback,
                                           public BatchCallback,
                                           public LobCallback,
                                           public DebugEventCallback {
  public:
    using RequestType = SQLRequest::RequestType;
    using OptionMap = std::map<unsigned int, _variant_t>;

    // With `createRequest` false there is no request until a derived class sets one. `schemaCallback` may be
    // null; it is not owned and goes to the request. `batchSeparator` divides the items of a script; empty is
    // the server's usual one.
    CSingleRequestDirector(const ConnectionDefElement& connectionDef,
                           const ConnectionRequestCallbackPtr& connectionRequestCallback,
                           const OptionMap& options, const OptionMap& defaultOptions,
                           SchemaCallback* schemaCallback, std::string batchSeparator, bool createRequest);
    // Without options.
    CSingleRequestDirector(const ConnectionDefElement& connectionDef,
                           const ConnectionRequestCallbackPtr& connectionRequestCallback,
                           SchemaCallback* schemaCallback, std::string batchSeparator, bool createRequest);
    // Without options; results go to the store of `dataStorage`.
    CSingleRequestDirector(const ConnectionDefElement& connectionDef, const DataStorage& dataStorage,
                           const ConnectionRequestCallbackPtr& connectionRequestCallback,
                           SchemaCallback* schemaCallback, std::string batchSeparator, bool createRequest);

    void OnError(const Errors& errors) override;
    // Ends all notifications and cancels the run. Does not wait for the run to end, but for the driver's
    // cancel, for 2 seconds at most. Also within a callback or the notification of a window.
    virtual ~CSingleRequestDirector();
    CSingleRequestDirector(const CSingleRequestDirector&) = delete;
    CSingleRequestDirector& operator=(const CSingleRequestDirector&) = delete;

    virtual bool IsDebugger();
    // A director of the same connection with a clone of the request, a store and a notification list of its
    // own, and no callbacks. Its current options are this director's defaults and the other way round. Null
    // when the request runs no SQL. The caller owns the result.
    virtual CSingleRequestDirector* CloneDirector();

    // Run on the calling thread, without an engine and without OnRequestBegin and OnRequestEnd, over the
    // given connection or a borrowed one. The result of the request; false when refused. Failures are thrown
    // as they are, and the director stays in the running state then.
    virtual bool ExecuteDirect(qxdb::Connection& connection, const std::string& sql, RequestType type,
                               bool fromFile);
    virtual bool ExecuteDirect(const std::string& sql, RequestType type, bool fromFile);
    // Starts what the request holds.
    virtual void Execute();
    // Starts `sql`, or with `fromFile` the file of that path, which the run of a script deletes with
    // `deleteFile`. Throws QXException as SQLRequest::SetSQL does.
    virtual void Execute(const std::string& sql, RequestType type, bool fromFile, bool deleteFile);
    // Starts the query for the compile errors of an object; Oracle only, else nothing happens. Null owner or
    // name: of all. The texts are put between quotes as they are.
    virtual void FetchObjectErrors(const char* owner, const char* name, const char* type, bool useDba);
    // Starts the SQL of the last run again, with the director's present options.
    virtual void ReExecute();

    // Cancels the run; blocks for 2 seconds at most, for a driver whose cancel blocks. Always true: how it
    // went is told by OnRequestEnd, or after 15 seconds by OnError and OnCancelFailed
    // (engine/cancellation.h). After a cancel that came back the director counts as idle at once. Any thread,
    // also within callbacks. A run of ExecuteDirect is on its caller's thread, and is never given up.
    virtual bool Cancel();
    virtual bool IsCancelled();
    virtual void ClearStorage();

    virtual std::string GetSQL();       // empty
    virtual std::string GetDatabase();  // empty
    virtual void SetDatabase(const std::string& name);
    virtual bool GetBindAsStrings();  // false
    virtual void SetBindAsStrings(bool asStrings);
    virtual int GetMinPrecision();  // 0
    virtual int GetMaxPrecision();  // 0
    virtual void SetPrecisionLimits(int minimum, int maximum);
    // The director's own maps, which every start hands to the request.
    virtual void SetQueryOptions(const OptionMap& defaults, const OptionMap& options);
    virtual const OptionMap& GetQueryOptions();
    virtual const OptionMap& GetQueryDefaultOptions();
    virtual void SetDoExplainPlan(bool explain);
    virtual bool GetDoExplainPlan();  // false
    virtual void SetUseLobLocators(bool use);
    virtual bool GetUseLobLocators();  // false
    virtual void SetLobPreviewSize(int size);
    virtual int GetLobPreviewSize();  // 0
    virtual void SetLobStreamSize(int size);
    virtual int GetLobStreamSize();  // 0
    virtual void SetUseSpecificLobLocatorImpl(bool use);
    virtual int GetUseSpecificLobLocatorImpl();                          // 0
    virtual const RequestStatementProperties& GetStatementProperties();  // default properties
    virtual void SetStatementProperties(const RequestStatementProperties& properties);
    virtual void SetDoPrepare(bool prepare);
    virtual void SetSchema(const qxdb::Schema& schema);
    virtual void SetParameters(const ParameterList& parameters);
    virtual void SetDisplayRowAffected(bool display);

    // The store; it stays valid after the director is gone.
    virtual SmartPtr<DataStorage> GetDataStorage();
    // For the next engine.
    virtual void SetConnectionDefElement(const ConnectionDefElement& def);
    // An engine has work. False within ExecuteDirect.
    virtual bool IsExecuting();
    // A run of FetchObjectErrors is under way.
    virtual bool CheckingObjectErrors();
    // Null when there is none.
    virtual RequestPtr GetRequest();

  protected:
    // A new engine, not started; null when the system gives no thread.
    virtual ThreadPtr<IEngine> CreateEngine();
    // The engine for the next run: the present one while it can take work, else a new one, started.
    virtual ThreadPtr<IEngine> GetEngine();
    // Stops the engine; the handle stays until the next run.
    virtual void ReleaseEngine();
    // Puts the request on the engine. QXException when there is no engine to be had.
    virtual void QueueRequest();

  public:
    // Null gives an empty user. Without a request null is returned.
    void SetExplainPlanAlterSessionUser(const char* user);
    const char* GetExplainPlanAlterSessionUser();

    // Callbacks are called in the order of their registration, those of the director itself among them.
    void RegisterCallback(ErrorCallback& callback);
    void RegisterCallback(MessageCallback& callback);
    void RegisterCallback(RequestCallback& callback);
    void RegisterCallback(ExecutionCallback& callback);
    void RegisterCallback(ResultSetCallback& callback);
    void RegisterCallback(BatchCallback& callback);
    void RegisterCallback(LobCallback& callback);
    void RegisterCallback(DebugEventCallback& callback);
    // Only for later clones: the request keeps the one that it was made with. There is no unregistering.
    void RegisterCallback(SchemaCallback& callback);
    void UnregisterCallback(ErrorCallback& callback);
    void UnregisterCallback(MessageCallback& callback);
    void UnregisterCallback(RequestCallback& callback);
    void UnregisterCallback(ExecutionCallback& callback);
    void UnregisterCallback(ResultSetCallback& callback);
    void UnregisterCallback(BatchCallback& callback);
    void UnregisterCallback(LobCallback& callback);
    void UnregisterCallback(DebugEventCallback& callback);
    // Unregisters all callbacks. During a run that includes the director's own, so the run's end is not seen.
    void Clear();

    // Windows that are told of the runs by messages: engine/observers.h. Any thread, also from within a
    // notification, which still goes to the windows that were registered when it began. A window that is in
    // its list already is not added again; one that was destroyed stays registered, and is skipped. A type
    // that is none of the nine does nothing. Each throws std::runtime_error "Unable to acquire lock!" where
    // the lock is refused.
    void RegisterObserver(HWND window, ObserverType type);
    void RegisterObserver(HWND window);  // for all nine types
    void UnregisterObserver(HWND window, ObserverType type);
    void UnregisterAllObserver(ObserverType type);
    void UnregisterAllObserver(HWND window);
    void UnregisterAllObserver();

    void OnMessage(const char* text, OutputMessageType type) override;
    void OnRequestBegin(double elapsed) override;
    void OnRequestEnd(double elapsed) override;
    void OnCancelFailed(double elapsed) override;
    void OnExecuteBegin(double elapsed) override;
    void OnExecuteEnd(double elapsed) override;
    void OnPreResultSetBegin(double elapsed, int resultSetId, ResultSetType type) override;
    void OnResultSetBegin(double elapsed, int resultSetId, ResultSetType type) override;
    void OnResultSetUpdate(double elapsed, int resultSetId, int rows) override;
    void OnResultSetEnd(double elapsed, int resultSetId) override;
    void OnBatchItemBegin(double elapsed, int itemIndex, int itemValue) override;
    void OnBatchItemEnd(double elapsed, int rowCount, const ParameterList& parameters) override;
    void OnLobExtracted(const char* fileName, double elapsed) override;
    void OnLobImported(double elapsed) override;
    void OnDebugEvent(int event, void* data, double elapsed) override;

  protected:
    // Ends all notifications, cancels the run and waits until no other thread is inside a callback of this
    // object; a call that only waits for windows does not count. A derived class calls it first in its
    // destructor, while the object is still whole; repeating it does no harm. An override of a callback
    // touches its object before it calls the base, and not after.
    void LeaveRun();
    // For derived classes that bring their own request; before the first run.
    void SetRequest(const RequestPtr& newRequest);
    // The list that a request of theirs has to notify.
    const SmartPtr<NotificationCallbacks>& GetNotificationCallbacks() const { return notificationCallbacks; }
    // The windows of a type, in the order of their registration; null for a type that is none of the nine.
    std::vector<HWND>* GetObservers(ObserverType type);

  private:
    template <class Run>
    bool RunDirect(const std::string& sql, RequestType type, bool fromFile, const Run& run);
    void Initialize(const std::string& batchSeparator, bool createRequest);
    void HandOverOptions(SQLRequest& sqlRequest);
    void RegisterSelf();
    void WatchCancelledRun(const ThreadPtr<IEngine>& running, const RequestPtr& held);
    ThreadPtr<IEngine> CurrentEngine();

    struct Audience;
    using Step = void (CSingleRequestDirector::*)();
    Audience LeaveCall(const void* callback, ObserverType type, Step underLock = nullptr);
    void EndRun();
    void GiveUpRun();

    std::vector<HWND> observers[observerTypeCount];  // guarded by observerLock
    SmartPtr<NotificationCallbacks> notificationCallbacks;
    SchemaCallback* schemaCallback;  // not owned; guarded by lock
    SmartPtr<ConnectionRequestCallback> connectionRequestCallback;
    SmartPtr<DataStorage> dataStorage;
    ConnectionDefElement connectionDef;
    ThreadPtr<IEngine> engine;  // guarded by engineLock
    std::unique_ptr<RequestPtr> request;
    std::atomic<bool> executing{false};           // a run is under way
    std::atomic<bool> forceCancelStarted{false};  // the run that was cancelled has its watchdog
    qxutils::CriticalSection lock;                // starting and registering; held through ExecuteDirect
    OptionMap queryOptions;
    OptionMap queryDefaultOptions;
    qxutils::RecursiveReadWriteLock observerLock;
    qxutils::CriticalSection engineLock;  // never held across a call into a request
    bool runEnded = false;  // the engine's run has ended, and it was stopped; guarded by engineLock
    // No window is told anything more. Shared with the notifications under way, which outlive the director.
    const std::shared_ptr<std::atomic<bool>> silent = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace qxdbsqlengine
