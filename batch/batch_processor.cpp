#include "batch/batch_processor.h"

#include <cstddef>
#include <stdexcept>

#include "batch/batch_limits.h"
#include "batch/procedure_call.h"
#include "platform/os/debug_output.h"
#include "platform/qxutils/lock_guard.h"

namespace {

using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

// The event was not signalled in time.
class NoSignal : public std::runtime_error {
  public:
    NoSignal() : std::runtime_error("Unable to acquire lock!") {}
};

// A scope behind the signal of an event.
class EventGuard {
  public:
    explicit EventGuard(qxutils::Event& target) : event(target) {
        if (!event.Lock())
            throw NoSignal();
    }
    ~EventGuard() { event.Unlock(); }
    EventGuard(const EventGuard&) = delete;
    EventGuard& operator=(const EventGuard&) = delete;

  private:
    qxutils::Event& event;
};

}  // namespace

QXDBBatchProcessor::QXDBBatchProcessor(qxdb::DBTYPE dbType, double version, const std::string& text,
                                       bool textIsFile, const std::string& batchSeparator,
                                       bool useGenericParser, bool deleteFile)
    : available(false, false, std::string()), silenceMs(qxbatch::limits.silenceMs) {
    available.SetTimeout(silenceMs);
    // A reference for the owner: what the parser takes and drops never ends in none.
    thread.AddRef();
    thread.SetParameters(dbType, version, text, textIsFile, batchSeparator, useGenericParser, deleteFile);
    thread.StartProcessing(available);
}

QXDBBatchProcessor::~QXDBBatchProcessor() {
    try {
        thread.Cancel();
    } catch (const std::exception& failure) {
        // The lock of the parser was refused: its next statement stops it.
        qxos::OutputDebugStringA(failure.what());
        thread.Terminate();
    }
    thread.WaitForExit(qxutils::Thread::NoLimit);
}

bool QXDBBatchProcessor::RetrieveBatch(BatchInfo& info) {
    // In this order: what is put before the end is seen after it.
    const bool complete = ProcessingComplete() || cancelled;
    if (GetBatchCount() == 0) {
        if (complete)
            return EndOfScript();
    } else if (complete) {
        GetBatch(info);
        return true;
    }
    try {
        const EventGuard signalled(available);
        if (GetBatchCount() != 0) {
            GetBatch(info);
            return true;
        }
        qxos::OutputDebugStringA("===>SetEvent occured on processing complete.\r\n");
        return EndOfScript();
    } catch (const NoSignal& failure) {
        qxos::OutputDebugStringA(failure.what());
        Fail(RPC_E_TIMEOUT, thread.GetStatus() == qxutils::Thread::StatusNotStarted
                                ? "The script was not read, because the version of the server is not known."
                                : "The script parser was silent for " + std::to_string(silenceMs) + " ms.");
    } catch (const std::exception& failure) {
        qxos::OutputDebugStringA(failure.what());
        Fail(E_FAIL, failure.what());
    }
    return false;
}

// A parser tells its end from within the parse, and how it went by what the parse returns: who asks
// GetFailure at the end of a script must find it there.
bool QXDBBatchProcessor::EndOfScript() {
    if (!cancelled)
        thread.WaitForExit(static_cast<unsigned long>(silenceMs));
    return false;
}

bool QXDBBatchProcessor::ProcessingComplete() const {
    return thread.IsProcessingComplete();
}

void QXDBBatchProcessor::Cancel() {
    // The reader first: it may be waiting for a parser that was never started, or that can't be stopped.
    cancelled = true;
    available.SetEvent();
    thread.Cancel();
}

void QXDBBatchProcessor::Fail(HRESULT code, const std::string& reason) {
    if (cancelled)
        return;
    const Guard guard(failureLock);
    failureCode = code;
    failureText = reason;
}

bool QXDBBatchProcessor::GetFailure(HRESULT& code, std::string& reason) const {
    if (thread.GetFailure(code, reason))
        return true;
    const Guard guard(failureLock);
    if (failureCode == S_OK)
        return false;
    code = failureCode;
    reason = failureText;
    return true;
}

unsigned int QXDBBatchProcessor::GetBatchCount() const {
    return thread.GetBatchCount();
}

void QXDBBatchProcessor::GetBatch(BatchInfo& info) {
    thread.GetBatch(info);
    if (!info.isProcedureCall)
        return;
    const std::size_t bracket = info.statement.find(static_cast<unsigned short>('('));
    wstring params = bracket == wstring::npos ? wstring() : info.statement.substr(bracket);
    if (params.empty() || !ParseProcParams(params, info)) {
        info.isProcedureCall = false;
        return;
    }
    info.statement = qxbatch::ProcedureName(info.statement.substr(0, bracket));
}

bool QXDBBatchProcessor::ParseProcParams(wstring& params, BatchInfo& info) {
    return qxbatch::ParseArguments(params, info.parameters);
}
