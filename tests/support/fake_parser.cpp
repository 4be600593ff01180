#include "support/fake_parser.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

#include "platform/os/code_page.h"

namespace qxtest {

namespace {

constexpr std::chrono::seconds patience(10);

}  // namespace

struct FakeParser::State {
    using Step = std::function<HRESULT(State&, IQXBatchProcessorSink&)>;

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    // All guarded by mutex.
    std::vector<Step> steps;
    std::map<std::string, std::function<HRESULT()>> actions;
    std::vector<std::string> calls;
    std::vector<HRESULT> putResults;
    std::vector<std::string> arguments;
    bool cancelled = false;
    bool stubborn = false;

    void WriteDown(const std::string& call) {
        const std::lock_guard<std::mutex> guard(mutex);
        calls.push_back(call);
        changed.notify_all();
    }

    HRESULT Act(const std::string& call) {
        std::function<HRESULT()> action;
        {
            const std::lock_guard<std::mutex> guard(mutex);
            const auto found = actions.find(call);
            if (found != actions.end())
                action = found->second;
        }
        return action ? action() : S_OK;
    }

    HRESULT Enter(const std::string& call) {
        WriteDown(call);
        return Act(call);
    }

    HRESULT Put(IQXBatchProcessorSink& sink, const Item& item) {
        const HRESULT result = sink.PutStatement(item.text.c_str(), item.end, item.line, item.skip,
                                                 item.procedure, item.dataCopy);
        const std::lock_guard<std::mutex> guard(mutex);
        putResults.push_back(result);
        changed.notify_all();
        return stubborn ? S_OK : result;
    }

    void Cancel() {
        const std::lock_guard<std::mutex> guard(mutex);
        cancelled = true;
        changed.notify_all();
    }

    HRESULT Play(IQXBatchProcessorSink* sink, std::vector<std::string> given) {
        std::vector<Step> script;
        {
            const std::lock_guard<std::mutex> guard(mutex);
            arguments = std::move(given);
            script = steps;
        }
        for (const Step& step : script) {
            const HRESULT result = step(*this, *sink);
            if (result != S_OK)
                return result == S_FALSE ? S_OK : result;
        }
        return S_OK;
    }
};

namespace {

class Parser final : public qxos::ComponentObject<IQXScriptParser, &IID_IUnknown, &IID_IDispatch> {
  public:
    explicit Parser(std::shared_ptr<FakeParser::State> script) : state(std::move(script)) {}
    ~Parser() override {
        if (sink != nullptr)
            sink->Release();
        state->Enter("parser gone");
    }

    HRESULT STDMETHODCALLTYPE ParseFile(BSTR fileName, wchar_t const* parserName,
                                        wchar_t const* separator) override {
        const HRESULT result = state->Enter("ParseFile");
        return result != S_OK ? result
                              : state->Play(sink, {Bytes(fileName), "", Text(parserName), Text(separator)});
    }
    HRESULT STDMETHODCALLTYPE ParseText(BSTR text, wchar_t const* fileType, wchar_t const* parserName,
                                        wchar_t const* separator) override {
        const HRESULT result = state->Enter("ParseText");
        return result != S_OK
                   ? result
                   : state->Play(sink, {Bytes(text), Text(fileType), Text(parserName), Text(separator)});
    }
    HRESULT STDMETHODCALLTYPE ReservedThird() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ReservedFourth() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CancelParse() override {
        state->WriteDown("CancelParse");
        state->Cancel();
        return state->Act("CancelParse");
    }
    HRESULT STDMETHODCALLTYPE Advise(IQXBatchProcessorSink* newSink) override {
        newSink->AddRef();
        sink = newSink;
        return state->Enter("Advise");
    }
    HRESULT STDMETHODCALLTYPE Unadvise(IQXBatchProcessorSink* oldSink) override {
        const HRESULT result = state->Enter("Unadvise");
        if (oldSink == sink) {
            sink = nullptr;
            oldSink->Release();
        }
        return result;
    }

  private:
    static std::string Text(wchar_t const* text) { return qxos::WideToMultiByte(text); }
    static std::string Bytes(BSTR text) { return qxos::WideToBytes(text, SysStringLen(text)); }

    std::shared_ptr<FakeParser::State> state;
    IQXBatchProcessorSink* sink = nullptr;
};

class Factory final : public qxos::ComponentObject<IQXScriptParserFactory, &IID_IUnknown, &IID_IDispatch,
                                                   &IQXScriptParserFactory::Iid> {
  public:
    explicit Factory(std::shared_ptr<FakeParser::State> script) : state(std::move(script)) {}
    ~Factory() override { state->Enter("factory gone"); }

    HRESULT STDMETHODCALLTYPE ReservedFirst() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetParser(IQXScriptParser** parser) override {
        const HRESULT result = state->Enter("GetParser");
        if (result == S_OK)
            *parser = new Parser(state);
        // A call that only says that it went well.
        return result == S_FALSE ? S_OK : result;
    }

  private:
    std::shared_ptr<FakeParser::State> state;
};

}  // namespace

qxutils::wstring16 Wide(const std::string& text) {
    qxutils::wstring16 result;
    for (const char c : text)
        result += static_cast<unsigned char>(c);
    return result;
}

std::string Narrow(const qxutils::wstring16& text) {
    return qxos::Utf16ToMultiByte(text.data(), text.size());
}

FakeParser::FakeParser() : state(std::make_shared<State>()) {
    qxos::RegisterComponent(CLSID_QXScriptParserFactory, [shared = state](REFIID iid, void** object) {
        const HRESULT result = shared->Enter("create");
        if (result != S_OK)
            return result == S_FALSE ? S_OK : result;
        auto* const factory = new Factory(shared);
        const HRESULT found = factory->QueryInterface(iid, object);
        factory->Release();
        return found;
    });
}

FakeParser::~FakeParser() {
    qxos::UnregisterComponent(CLSID_QXScriptParserFactory);
}

FakeParser& FakeParser::Puts(const Item& item) {
    return Puts(1, item);
}

FakeParser& FakeParser::Puts(int count, const Item& item) {
    state->steps.push_back([count, item](State& script, IQXBatchProcessorSink& sink) {
        Item next = item;
        for (int i = 0; i < count; ++i, ++next.line) {
            const HRESULT result = script.Put(sink, next);
            if (result != S_OK)
                return result;
        }
        return S_OK;
    });
    return *this;
}

FakeParser& FakeParser::Completes() {
    state->steps.push_back([](State&, IQXBatchProcessorSink& sink) { return sink.ProcessingComplete(); });
    return *this;
}

FakeParser& FakeParser::Does(std::function<void()> action) {
    state->steps.push_back([action = std::move(action)](State&, IQXBatchProcessorSink&) {
        action();
        return S_OK;
    });
    return *this;
}

FakeParser& FakeParser::Fails(HRESULT code, const std::string& reason) {
    state->steps.push_back([code, reason](State&, IQXBatchProcessorSink&) {
        if (!reason.empty())
            qxos::SetComponentErrorText(reason);
        return code;
    });
    return *this;
}

FakeParser& FakeParser::WaitsForCancel() {
    state->steps.push_back([](State& script, IQXBatchProcessorSink&) {
        std::unique_lock<std::mutex> guard(script.mutex);
        script.changed.wait_for(guard, 2 * patience, [&script] { return script.cancelled; });
        // Ends the parse, which went well.
        return S_FALSE;
    });
    return *this;
}

FakeParser& FakeParser::Stubborn() {
    state->stubborn = true;
    return *this;
}

void FakeParser::At(const std::string& call, std::function<HRESULT()> action) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->actions[call] = std::move(action);
}

std::vector<std::string> FakeParser::Calls() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->calls;
}

bool FakeParser::WaitForCall(const std::string& call) const {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(guard, patience, [this, &call] {
        return std::find(state->calls.begin(), state->calls.end(), call) != state->calls.end();
    });
}

bool FakeParser::WaitForPuts(int count) const {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(
        guard, patience, [this, count] { return static_cast<int>(state->putResults.size()) >= count; });
}

std::vector<HRESULT> FakeParser::PutResults() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->putResults;
}

std::vector<std::string> FakeParser::Arguments() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->arguments;
}

}  // namespace qxtest
