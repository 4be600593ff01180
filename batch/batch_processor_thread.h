// The thread that has a script parsed.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <list>
#include <string>

#include "platform/export.h"
#include "platform/os/component.h"
#include "platform/qxdb/types.h"
#include "platform/qxparser/script_parser.h"
#include "platform/qxutils/critical_section.h"
#include "platform/qxutils/event.h"
#include "platform/qxutils/thread.h"
#include "platform/qxutils/wide_string.h"

// Hands a script to the parser component and queues the statements that come back, for one reader. The parser
// runs ahead of the reader, so the first statements can run while the rest is still being read; when it is
// too far ahead (see batch_limits.h), it waits.
//
// Course: SetParameters, StartProcessing, then GetBatch for as long as GetBatchCount says so; the event tells
// of new statements and of the end. Whoever owns the object calls Cancel and WaitForExit before it goes.
//
// Threads: the sink's operations come on the thread itself, the reading operations belong to one reader,
// Cancel and GetFailure may be called from any thread.
//
// A failure of the parser ends the script early, and the reader sees a complete, short one; GetFailure tells.
// Nothing that a component does, an exception included, leaves this class.
class QXSENG2_API QXDBBatchProcessorThread : public qxutils::Thread, public IQXBatchProcessorSink {
  public:
    using Interface = IQXBatchProcessorSink;
    using wstring = qxutils::wstring16;

    // One statement as the parser reported it; see IQXBatchProcessorSink::PutStatement.
    struct BatchInfo {
        long parserValue = 0;
        long itemValue = 0;
        bool skip = false;
        bool isProcedureCall = false;
        bool isDataCopy = false;
        std::list<std::string> parameters;  // the arguments of a procedure call
        wstring statement;
    };

    QXDBBatchProcessorThread();
    ~QXDBBatchProcessorThread() override;

    // `newText` is the script, or with `isFile` the name of its file, which is deleted with `deleteWhenDone`
    // as soon as the parser is done with it. An empty separator is the server's usual one. REQUIRES: not
    // started.
    void SetParameters(qxdb::DBTYPE type, double serverVersion, const std::string& newText, bool isFile,
                       const std::string& separator, bool genericParser, bool deleteWhenDone);
    // Signals `newEvent`, which is not owned, for each statement and at the end. A negative version is one
    // that nobody has asked the server for: nothing is started then, and nothing will be signalled.
    void StartProcessing(qxutils::Event& newEvent);
    // Stops the parser, lets a parser go on that waits for the reader, and asks the thread to end. Waits
    // while the parser is being made. Nothing when the thread does not run.
    void Cancel();
    unsigned int GetBatchCount() const;
    // Takes the front statement; signals again when others remain. REQUIRES: GetBatchCount() is not 0.
    void GetBatch(BatchInfo& info);
    // No further statement will come.
    bool IsProcessingComplete() const;
    // True when the script ended early by a failure: its code, and its reason in words. A cancel is no
    // failure.
    bool GetFailure(HRESULT& code, std::string& reason) const;

    HRESULT STDMETHODCALLTYPE PutStatement(unsigned short const* statement, long parserValue, long itemValue,
                                           short skip, short isProcedureCall, short isDataCopy) override;
    HRESULT STDMETHODCALLTYPE ProcessingComplete() override;

    static qxos::ComponentModule& Module();
    // Drops the parser and the factory; the thread has ended.
    void FinalRelease();

  protected:
    // Makes the parser. Throws _com_error.
    void Initialize();
    // The name of the dialect.
    std::wstring GetParser();
    int Run() override;

  private:
    std::string GetBatchSeparator();
    void Parse();
    void End();
    void DeleteScript();
    void Fail(HRESULT code, const std::string& reason);
    HRESULT Append(BatchInfo&& info);
    bool IsFull(std::size_t moreBytes) const;
    static std::size_t TextBytes(const BatchInfo& info);

    bool textIsFile = false;
    std::atomic<bool> processingComplete{false};
    bool deleteFile = false;
    std::atomic<qxutils::Event*> event{nullptr};  // not owned; null when there is nobody to be told
    std::deque<BatchInfo> batches;                // guarded by batchLock
    qxdb::DBTYPE dbType = qxdb::DBTYPE_ORACLE;
    double version = -1.0;
    mutable qxutils::CriticalSection batchLock;
    mutable qxutils::CriticalSection completeLock;
    qxutils::CriticalSection parserLock;  // start-up and Cancel
    // No two of these locks are held at once.
    std::string text;
    qxos::ComponentPtr<IQXScriptParserFactory> parserFactory;
    qxos::ComponentPtr<IQXScriptParser> parser;
    std::string batchSeparator;
    bool useGenericParser = true;

    // The bound of the queue.
    const std::size_t maxItems;
    const std::size_t maxBytes;
    std::size_t queuedBytes = 0;      // of text in `batches`; guarded by batchLock
    bool parserWaits = false;         // guarded by batchLock
    qxutils::Event roomAvailable;     // for a parser that waits
    std::atomic<bool> closed{false};  // nobody wants further statements

    mutable qxutils::CriticalSection failureLock;
    HRESULT failureCode = S_OK;  // guarded by failureLock, as is the text
    std::string failureText;
};
