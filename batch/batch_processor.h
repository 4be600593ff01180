// What a request sees of a script: one statement after the other.
#pragma once

#include <atomic>
#include <string>

#include "batch/batch_processor_thread.h"
#include "platform/export.h"
#include "platform/os/component.h"
#include "platform/qxdb/types.h"
#include "platform/qxutils/critical_section.h"
#include "platform/qxutils/event.h"

// Has a script parsed on a thread of its own, from construction on, and hands out its statements. A statement
// that the parser marks as a procedure call is turned into the name, in upper case but for quoted parts, and
// the arguments as texts; a call that can't be read that way comes as plain SQL.
//
// Threads: RetrieveBatch on one thread; the other operations on any. The destructor waits until the parser
// has stopped and the thread is gone.
class QXSENG2_API QXDBBatchProcessor {
  public:
    using BatchInfo = QXDBBatchProcessorThread::BatchInfo;

    // `text` is the script, or with `textIsFile` the name of its file, which is deleted with `deleteFile`
    // when the parser is done with it. `version` in the server's own tradition; negative: the script is never
    // read. An empty separator is the server's usual one.
    QXDBBatchProcessor(qxdb::DBTYPE dbType, double version, const std::string& text, bool textIsFile,
                       const std::string& batchSeparator, bool useGenericParser, bool deleteFile);
    ~QXDBBatchProcessor();
    QXDBBatchProcessor(const QXDBBatchProcessor&) = delete;
    QXDBBatchProcessor& operator=(const QXDBBatchProcessor&) = delete;

    // Waits for the next statement. False when there is none: the script is finished, was cancelled, or ended
    // early, be it by a failure of the parser or because the parser was silent for 300 seconds. GetFailure
    // tells them apart.
    bool RetrieveBatch(BatchInfo& info);
    // The parser has delivered everything; statements may still be waiting here.
    bool ProcessingComplete() const;
    // Stops the parser, and wakes a reader that waits for it.
    void Cancel();
    // True when the script ended early by a failure: its code, and its reason in words. A cancel is no
    // failure.
    bool GetFailure(HRESULT& code, std::string& reason) const;

  private:
    using wstring = QXDBBatchProcessorThread::wstring;

    unsigned int GetBatchCount() const;
    void GetBatch(BatchInfo& info);
    bool ParseProcParams(wstring& params, BatchInfo& info);
    void Fail(HRESULT code, const std::string& reason);
    bool EndOfScript();

    qxutils::Event available;
    qxos::CComObject<QXDBBatchProcessorThread> thread;
    std::atomic<bool> cancelled{false};
    const long silenceMs;
    mutable qxutils::CriticalSection failureLock;
    // Of the reading of the queue, guarded by failureLock; the thread knows those of the parser.
    HRESULT failureCode = S_OK;
    std::string failureText;
};
