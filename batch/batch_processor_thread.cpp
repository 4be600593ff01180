#include "batch/batch_processor_thread.h"

#include <limits>
#include <memory>
#include <utility>

#include "batch/batch_limits.h"
#include "batch/module.h"
#include "batch/parser_name.h"
#include "platform/os/code_page.h"
#include "platform/os/debug_output.h"
#include "platform/os/file_removal.h"
#include "platform/qxutils/com_verify.h"
#include "platform/qxutils/lock_guard.h"

namespace {

using qxutils::COMVerify;
using Guard = qxutils::LockGuard<qxutils::CriticalSection>;

// The places of the calls, as the debug output names them.
constexpr const char* sourceFile = "batch_processor_thread.cpp";
constexpr unsigned int parseFileLine = 99;
constexpr unsigned int parseTextLine = 106;
constexpr unsigned int createLine = 170;
constexpr unsigned int getParserLine = 171;

struct BstrDeleter {
    void operator()(wchar_t* text) const { SysFreeString(text); }
};
using OwnedBstr = std::unique_ptr<wchar_t, BstrDeleter>;

// Throws _com_error when there is no memory for it.
OwnedBstr ToBstr(const std::string& bytes) {
    const std::size_t count = qxos::BytesToWide(bytes, nullptr);
    OwnedBstr wide;
    if (count < std::numeric_limits<unsigned int>::max())
        wide.reset(SysAllocStringLen(nullptr, static_cast<unsigned int>(count)));
    if (!wide)
        throw _com_error(E_OUTOFMEMORY);
    qxos::BytesToWide(bytes, wide.get());
    return wide;
}

// A component that throws has failed. Its reason stays for ReasonOf only when it did.
template <class Call>
HRESULT CallComponent(const Call& call) {
    qxos::TakeComponentErrorText();
    try {
        const HRESULT result = call();
        if (result >= 0)
            qxos::TakeComponentErrorText();
        return result;
    } catch (const _com_error& failure) {
        qxos::SetComponentErrorText(failure.ErrorMessage());
    } catch (const std::exception& failure) {
        qxos::SetComponentErrorText(failure.what());
    } catch (...) {
    }
    return E_FAIL;
}

std::string ReasonOf(const _com_error& failure) {
    const std::string told = qxos::TakeComponentErrorText();
    if (!told.empty())
        return told;
    const std::string what = failure.Error() == REGDB_E_CLASSNOTREG ? "There is no script parser. "
                                                                    : "The script parser has failed. ";
    return what + failure.ErrorMessage();
}

bool IsTrue(short flag) {
    return flag == VARIANT_TRUE;
}

}  // namespace

QXDBBatchProcessorThread::QXDBBatchProcessorThread()
    : maxItems(qxbatch::limits.queuedItems),
      maxBytes(qxbatch::limits.queuedBytes),
      roomAvailable(false, false, std::string()) {}

QXDBBatchProcessorThread::~QXDBBatchProcessorThread() = default;

qxos::ComponentModule& QXDBBatchProcessorThread::Module() {
    return CQXDBSQLModule::Instance();
}

void QXDBBatchProcessorThread::FinalRelease() {
    parser.Reset();
    parserFactory.Reset();
}

void QXDBBatchProcessorThread::SetParameters(qxdb::DBTYPE type, double serverVersion,
                                             const std::string& newText, bool isFile,
                                             const std::string& separator, bool genericParser,
                                             bool deleteWhenDone) {
    dbType = type;
    version = serverVersion;
    text = newText;
    textIsFile = isFile;
    batchSeparator = separator;
    useGenericParser = genericParser;
    deleteFile = deleteWhenDone;
}

void QXDBBatchProcessorThread::StartProcessing(qxutils::Event& newEvent) {
    if (version < 0 || GetStatus() != StatusNotStarted)
        return;
    event = &newEvent;
    processingComplete = false;
    closed = false;
    if (Start() == nullptr) {
        Fail(E_OUTOFMEMORY, "The system gives no thread to read the script.");
        End();
        DeleteScript();
    }
}

void QXDBBatchProcessorThread::Cancel() {
    // First of all: the parser may be waiting for room, or put statements while it is made.
    closed = true;
    roomAvailable.SetEvent();
    const Guard guard(parserLock);
    if (GetStatus() != StatusRunning)
        return;
    if (parser)
        CallComponent([this] { return parser->CancelParse(); });
    Terminate();
}

unsigned int QXDBBatchProcessorThread::GetBatchCount() const {
    const Guard guard(batchLock);
    return static_cast<unsigned int>(batches.size());
}

void QXDBBatchProcessorThread::GetBatch(BatchInfo& info) {
    const Guard guard(batchLock);
    info = std::move(batches.front());
    batches.pop_front();
    queuedBytes -= TextBytes(info);
    // Half empty, so that the two threads don't take turns at every statement.
    if (parserWaits && batches.size() <= maxItems / 2 && queuedBytes <= maxBytes / 2) {
        parserWaits = false;
        roomAvailable.SetEvent();
    }
    // One signal may stand for several statements, and was used up for this one.
    qxutils::Event* const reader = event;
    if (!batches.empty() && reader != nullptr)
        reader->SetEvent();
}

bool QXDBBatchProcessorThread::IsProcessingComplete() const {
    const Guard guard(completeLock);
    return processingComplete;
}

bool QXDBBatchProcessorThread::GetFailure(HRESULT& code, std::string& reason) const {
    const Guard guard(failureLock);
    if (failureCode == S_OK)
        return false;
    code = failureCode;
    reason = failureText;
    return true;
}

void QXDBBatchProcessorThread::Fail(HRESULT code, const std::string& reason) {
    // What a parser says to a cancel is no failure.
    if (closed)
        return;
    const Guard guard(failureLock);
    failureCode = code;
    failureText = reason;
}

HRESULT QXDBBatchProcessorThread::PutStatement(unsigned short const* statement, long parserValue,
                                               long itemValue, short skip, short isProcedureCall,
                                               short isDataCopy) {
    try {
        BatchInfo info;
        info.parserValue = parserValue;
        info.itemValue = itemValue;
        info.skip = IsTrue(skip);
        info.isProcedureCall = IsTrue(isProcedureCall);
        info.isDataCopy = IsTrue(isDataCopy);
        if (statement != nullptr)
            info.statement = statement;
        return Append(std::move(info));
    } catch (const std::exception& failure) {
        qxos::OutputDebugStringA(failure.what());
        return E_FAIL;
    }
}

HRESULT QXDBBatchProcessorThread::Append(BatchInfo&& info) {
    const std::size_t bytes = TextBytes(info);
    Guard guard(batchLock);
    while (!closed && IsFull(bytes)) {
        parserWaits = true;
        guard.Unlock();
        // Without limit: a statement may run for as long as it likes.
        roomAvailable.Lock();
        guard.Relock();
    }
    if (closed)
        return E_ABORT;
    batches.push_back(std::move(info));
    queuedBytes += bytes;
    qxutils::Event* const reader = event;
    return reader != nullptr && reader->SetEvent() ? S_OK : E_FAIL;
}

// A statement longer than all the room passes when it is alone.
bool QXDBBatchProcessorThread::IsFull(std::size_t moreBytes) const {
    return !batches.empty() && (batches.size() >= maxItems || queuedBytes + moreBytes > maxBytes);
}

std::size_t QXDBBatchProcessorThread::TextBytes(const BatchInfo& info) {
    return info.statement.size() * sizeof(wstring::value_type);
}

HRESULT QXDBBatchProcessorThread::ProcessingComplete() {
    try {
        const Guard guard(completeLock);
        processingComplete = true;
        qxutils::Event* const reader = event;
        return reader != nullptr && reader->SetEvent() ? S_OK : E_FAIL;
    } catch (const std::exception& failure) {
        qxos::OutputDebugStringA(failure.what());
        return E_FAIL;
    }
}

void QXDBBatchProcessorThread::Initialize() {
    CoInitialize(nullptr);
    HRESULT result = CallComponent([this] {
        return CoCreateInstance(CLSID_QXScriptParserFactory, nullptr, CLSCTX_ALL, IQXScriptParserFactory::Iid,
                                reinterpret_cast<void**>(parserFactory.Receive()));
    });
    COMVerify::Check(result == S_OK && !parserFactory ? E_POINTER : result, sourceFile, createLine);
    result = CallComponent([this] { return parserFactory->GetParser(parser.Receive()); });
    COMVerify::Check(result == S_OK && !parser ? E_POINTER : result, sourceFile, getParserLine);
    CallComponent([this] { return parser->Advise(this); });
}

std::string QXDBBatchProcessorThread::GetBatchSeparator() {
    return batchSeparator.empty() ? qxbatch::DefaultBatchSeparator(dbType) : batchSeparator;
}

std::wstring QXDBBatchProcessorThread::GetParser() {
    return qxbatch::ParserName(dbType, version, useGenericParser);
}

void QXDBBatchProcessorThread::Parse() {
    {
        const Guard guard(parserLock);
        Initialize();
    }
    if (ShouldTerminate())
        return;
    const std::wstring separator = qxos::MultiByteToWide(GetBatchSeparator());
    const std::wstring name = GetParser();
    const OwnedBstr source = ToBstr(text);
    if (textIsFile) {
        const HRESULT result =
            CallComponent([&] { return parser->ParseFile(source.get(), name.c_str(), separator.c_str()); });
        COMVerify::Check(result, sourceFile, parseFileLine);
    } else {
        std::string().swap(text);
        const HRESULT result = CallComponent(
            [&] { return parser->ParseText(source.get(), L"sql", name.c_str(), separator.c_str()); });
        COMVerify::Check(result, sourceFile, parseTextLine);
    }
}

int QXDBBatchProcessorThread::Run() {
    int result = 0;
    try {
        Parse();
    } catch (const _com_error& failure) {
        Fail(failure.Error(), ReasonOf(failure));
        result = -1;
    } catch (const std::exception& failure) {
        // No memory, or a lock refused: the same as a parser that failed.
        Fail(E_FAIL, failure.what());
        result = -1;
    }
    End();
    if (parser)
        CallComponent([this] { return parser->Unadvise(this); });
    CoUninitialize();
    DeleteScript();
    return result;
}

void QXDBBatchProcessorThread::DeleteScript() {
    if (textIsFile && deleteFile)
        qxos::RemoveFile(text);
}

// Whatever the parser did, a reader must not wait for a thread that will put nothing more.
void QXDBBatchProcessorThread::End() {
    if (!processingComplete) {
        ProcessingComplete();
        processingComplete = true;
    }
    event = nullptr;
}
