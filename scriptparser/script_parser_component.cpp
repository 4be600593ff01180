#include "scriptparser/script_parser_component.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cwchar>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "platform/os/code_page.h"
#include "platform/os/component.h"
#include "platform/qxparser/script_parser.h"
#include "scriptparser/dialect.h"
#include "scriptparser/script_error.h"
#include "scriptparser/script_source.h"
#include "scriptparser/script_text.h"
#include "scriptparser/wide_text.h"

namespace qxscriptparser {

namespace {

std::string Narrow(const wchar_t* text) {
    return text != nullptr ? qxos::WideToBytes(text, std::wcslen(text)) : std::string();
}

std::string Narrow(BSTR text) {
    return qxos::WideToBytes(text, SysStringLen(text));
}

VARIANT_BOOL Flag(bool value) {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

long Limited(std::uint64_t value) {
    return static_cast<long>(std::min<std::uint64_t>(value, LONG_MAX));
}

// Hands items on to the engine's sink.
class Forwarder final : public ItemSink {
  public:
    explicit Forwarder(IQXBatchProcessorSink& newSink) : sink(newSink) {}

    bool Put(const Item& item) override {
        result = sink.PutStatement(wide.Assign(item.text), Limited(item.endOffset), item.line,
                                   Flag(item.skip), Flag(item.isProcedureCall), Flag(item.isDataCopy));
        return result >= 0;
    }
    // S_OK, or the failure of the sink.
    HRESULT Result() const { return result >= 0 ? S_OK : result; }

  private:
    IQXBatchProcessorSink& sink;
    WideText wide;
    HRESULT result = S_OK;
};

// Puts the text of a failure where callers look for it.
HRESULT Fail(HRESULT code, const std::string& text) {
    qxos::SetComponentErrorText(text);
    return code;
}

class Parser final : public qxos::ComponentObject<IQXScriptParser, &IID_IUnknown, &IID_IDispatch> {
  public:
    HRESULT STDMETHODCALLTYPE ParseFile(BSTR fileName, wchar_t const* parserName,
                                        wchar_t const* separator) override {
        return Parse(parserName, separator,
                     [&]() -> SourcePtr { return std::make_unique<FileSource>(Narrow(fileName)); });
    }
    HRESULT STDMETHODCALLTYPE ParseText(BSTR text, wchar_t const*, wchar_t const* parserName,
                                        wchar_t const* separator) override {
        std::string bytes;
        return Parse(parserName, separator, [&]() -> SourcePtr {
            bytes = Narrow(text);
            return std::make_unique<MemorySource>(bytes);
        });
    }
    HRESULT STDMETHODCALLTYPE ReservedThird() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ReservedFourth() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CancelParse() override {
        cancelled = true;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IQXBatchProcessorSink* newSink) override {
        if (newSink == nullptr)
            return E_POINTER;
        newSink->AddRef();
        ReleaseSink();
        sink = newSink;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Unadvise(IQXBatchProcessorSink* oldSink) override {
        if (sink == nullptr || oldSink != sink)
            return E_INVALIDARG;
        ReleaseSink();
        return S_OK;
    }

  private:
    using SourcePtr = std::unique_ptr<ScriptSource>;
    using MakeSource = std::function<SourcePtr()>;

    ~Parser() override { ReleaseSink(); }
    void ReleaseSink() {
        IQXBatchProcessorSink* const old = std::exchange(sink, nullptr);
        if (old != nullptr)
            old->Release();
    }

    HRESULT Parse(const wchar_t* parserName, const wchar_t* separator, const MakeSource& makeSource) {
        if (sink == nullptr)
            return Fail(E_FAIL, "The script parser has nobody to give statements to.");
        HRESULT result = E_FAIL;
        try {
            result = Split(Narrow(parserName), Narrow(separator), makeSource);
        } catch (const ScriptError& failure) {
            result = Fail(failure.Code(), failure.what());
        } catch (const std::bad_alloc&) {
            result = Fail(E_OUTOFMEMORY, "The script has a statement that is too long for the memory.");
        } catch (const std::exception& failure) {
            result = Fail(E_FAIL, failure.what());
        } catch (...) {
            result = Fail(E_FAIL, "The script parser failed.");
        }
        const HRESULT completed = Complete();
        return result >= 0 && completed < 0 ? completed : result;
    }

    HRESULT Complete() {
        try {
            return sink->ProcessingComplete();
        } catch (...) {
            return E_FAIL;
        }
    }

    HRESULT Split(const std::string& parserName, const std::string& separator, const MakeSource& makeSource) {
        if (cancelled)
            return S_FALSE;
        const SourcePtr source = makeSource();
        ScriptText text(*source, cancelled);
        Forwarder forwarder(*sink);
        const std::unique_ptr<Splitter> splitter = MakeSplitter(parserName, separator, text, forwarder);
        if (!splitter)
            return Fail(E_INVALIDARG, "The script parser knows no dialect \"" + parserName + "\".");
        splitter->Run();
        if (forwarder.Result() < 0)
            return Fail(forwarder.Result(), "The statements of the script were refused.");
        return cancelled ? S_FALSE : S_OK;
    }

    IQXBatchProcessorSink* sink = nullptr;  // with a reference
    std::atomic<bool> cancelled{false};
};

class ParserFactory final : public qxos::ComponentObject<IQXScriptParserFactory, &IID_IUnknown,
                                                         &IID_IDispatch, &IQXScriptParserFactory::Iid> {
  public:
    HRESULT STDMETHODCALLTYPE ReservedFirst() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetParser(IQXScriptParser** parser) override {
        if (parser == nullptr)
            return E_POINTER;
        *parser = nullptr;
        try {
            *parser = new Parser();
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }
};

}  // namespace

void RegisterScriptParser() {
    qxos::RegisterComponent(CLSID_QXScriptParserFactory, [](REFIID iid, void** object) {
        return qxos::MakeComponent<ParserFactory>(iid, object);
    });
}

}  // namespace qxscriptparser
