// The run of a script, item by item.
#include <utility>
#include <vector>

#include "batch/batch_processor.h"
#include "dbms/dbms_handler.h"
#include "platform/os/code_page.h"
#include "platform/os/debug_output.h"
#include "platform/qxdbop/jdbc_datacopy_handler.h"
#include "platform/qxutils/lock_guard.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxutils::WriteLockGuard;
using ScriptGuard = qxutils::LockGuard<qxutils::CriticalSection>;

}  // namespace

// The batch processor for the length of a script, where Cancel finds it. The end of the scope waits until the
// parser has stopped.
class SQLRequest::ScriptScope {
  public:
    ScriptScope(SQLRequest& owner, const qxdbsrd::ConnectionDefElement& def) : request(owner) {
        std::unique_ptr<QXDBBatchProcessor> made = request.MakeBatchProcessor(def);
        const ScriptGuard guard(request.scriptLock);
        request.batchProcessor = std::move(made);
        request.scriptFailureCode = S_OK;
        request.scriptBytesDone = 0;
    }
    ~ScriptScope() {
        std::unique_ptr<QXDBBatchProcessor> ended;
        try {
            const ScriptGuard guard(request.scriptLock);
            request.batchProcessor->GetFailure(request.scriptFailureCode, request.scriptFailureText);
            ended = std::move(request.batchProcessor);
        } catch (const std::exception& failure) {
            // Without the lock nobody may take it away from a cancel; the next script or the end will.
            qxos::OutputDebugStringA(failure.what());
        }
        // Outside the lock: this may take until the parser has heeded the cancel.
    }
    ScriptScope(const ScriptScope&) = delete;
    ScriptScope& operator=(const ScriptScope&) = delete;

  private:
    SQLRequest& request;
};

// A procedure call runs as a request of that kind would.
class SQLRequest::ProcedureScope {
  public:
    explicit ProcedureScope(SQLRequest& owner)
        : request(owner), savedType(owner.requestType), savedPrepare(owner.doPrepare) {
        request.requestType = RequestProcedure;
        request.doPrepare = true;
    }
    ~ProcedureScope() {
        request.ClearParameters();
        request.requestType = savedType;
        request.doPrepare = savedPrepare;
    }
    ProcedureScope(const ProcedureScope&) = delete;
    ProcedureScope& operator=(const ProcedureScope&) = delete;

  private:
    SQLRequest& request;
    const RequestType savedType;
    const bool savedPrepare;
};

std::unique_ptr<QXDBBatchProcessor> SQLRequest::MakeBatchProcessor(const qxdbsrd::ConnectionDefElement& def) {
    const WriteLockGuard guard(lock);
    // From here on `sql` is the text of one item after the other; the memory of the script goes.
    const std::string script = std::exchange(sql, std::string());
    const bool fromFile = !fileName.empty();
    return std::make_unique<QXDBBatchProcessor>(dbType, def.GetServerVersion(), fromFile ? fileName : script,
                                                fromFile, batchSeparator, useGenericParser, deleteFile);
}

bool SQLRequest::ExecuteScript(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    const ScriptScope scope(*this, def);
    bool result = false;
    QXDBBatchProcessor::BatchInfo item;
    for (;;) {
        CheckCancelled();
        const bool retrieved = batchProcessor->RetrieveBatch(item);
        {
            // A cancel ends the waiting for an item and then marks the request, both under this lock.
            const ScriptGuard behindTheCancel(scriptLock);
        }
        CheckCancelled();
        if (!retrieved)
            break;
        if (MaxErrorsOccurred()) {
            errorCount = 0;
            break;
        }
        batchItemLine = static_cast<int>(item.itemValue);
        if (ExecuteScriptItem(def, connection, item))
            result = true;
        scriptBytesDone = item.parserValue;
    }
    return result;
}

bool SQLRequest::ExecuteScriptItem(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection,
                                   const QXDBBatchProcessorThread::BatchInfo& item) {
    if (item.skip) {
        return GuardItem(connection, [this] {
            NotifyBatchItemBegin();
            NotifyBatchItemEnd();
            return true;
        });
    }
    SetItemText(qxos::Utf16ToMultiByte(item.statement.data(), item.statement.size()));
    if (item.isDataCopy)
        return GuardItem(connection, [this, &def] { return RunDataCopy(def); });
    // A name of one letter is no empty item.
    const bool isCall = item.isProcedureCall && !item.statement.empty();
    if (item.statement.size() <= 1 && !isCall)
        return GuardItem(connection, [this] { return RunEmptyItem(); });
    if (isCall) {
        const ProcedureScope scope(*this);
        ClearParameters();
        CurrentParameters()->SetForceBindByOrdinal(true);
        GenerateParameterList(std::vector<std::string>(item.parameters.begin(), item.parameters.end()));
        return ExecuteBatchItem(connection);
    }
    return ExecuteBatchItem(connection);
}

void SQLRequest::SetItemText(std::string&& text) {
    const WriteLockGuard guard(lock);
    sql = std::move(text);
}

bool SQLRequest::RunEmptyItem() {
    NotifyBatchItemBegin();
    HandleEmptyResultSet();
    NotifyBatchItemEnd();
    return true;
}

// Runs in the data-operations library, which has connections of its own.
bool SQLRequest::RunDataCopy(const qxdbsrd::ConnectionDefElement& def) {
    NotifyBatchItemBegin();
    bool result = false;
    try {
        const std::string& source = def.GetDataSourceName();
        qxdbop::JDBCDatacopyHandler copy(connectionCallback
                                             ? connectionCallback->GetServerIdentifier(source.c_str(), true)
                                             : ServerIdentifier(source));
        copy.init(qxdbop::JavaString(GetSQL()));
        copy.run();
        HandleEmptyResultSet();
        result = true;
    } catch (const qxdbop::JavaError& failure) {
        SaveNotifyMessage(failure.GetText());
        NotifyErrorText(failure.GetText());
    }
    NotifyBatchItemEnd();
    return result;
}

// A cancel wakes a run that waits for the parser. By the time the run looks, it must find the mark: both are
// done under the lock.
void SQLRequest::CancelScript() {
    try {
        const ScriptGuard guard(scriptLock);
        if (batchProcessor && !batchProcessor->ProcessingComplete())
            batchProcessor->Cancel();
        Request::Cancel();
    } catch (const std::exception& failure) {
        // A lock was refused: the mark alone ends the run at the next item.
        qxos::OutputDebugStringA(failure.what());
        Request::Cancel();
    }
}

bool SQLRequest::GetScriptFailure(HRESULT& code, std::string& reason) {
    const ScriptGuard guard(scriptLock);
    if (batchProcessor)
        return batchProcessor->GetFailure(code, reason);
    if (scriptFailureCode == S_OK)
        return false;
    code = scriptFailureCode;
    reason = scriptFailureText;
    return true;
}

}  // namespace qxdbsqlengine
