// Callbacks that write down what they are told, and a connection callback that counts.
//
//   qxtest::RecordingCallbacks calls;
//   calls.AddTo(*notifications);          // all eight lists
//   ...
//   EXPECT_EQ(calls.Lines(), (std::vector<std::string>{"OnExecuteBegin", "OnExecuteEnd"}));
//
// Lines: "OnError first text | second text", "OnMessage 0 text", "OnRequestBegin", "OnRequestEnd",
// "OnCancelFailed", "OnExecuteBegin", "OnExecuteEnd", "OnPreResultSetBegin 0 2", "OnResultSetBegin 0 2" (id,
// type), "OnResultSetUpdate 0 10" (id, rows), "OnResultSetEnd 0", "OnBatchItemBegin 0 0", "OnBatchItemEnd 0
// 1" (index, number of parameters), "OnLobExtracted file", "OnLobImported", "OnSchemaPrepared", "OnDebugEvent
// 5".
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine/callbacks.h"
#include "engine/connection_request.h"
#include "engine/notification.h"
#include "params/parameter_list.h"
#include "platform/qxdb/connection.h"
#include "support/scripted_driver.h"

namespace qxtest {

// May be called and asked on any thread.
class RecordingCallbacks : public qxdbsqlengine::ErrorCallback,
                           public qxdbsqlengine::MessageCallback,
                           public qxdbsqlengine::RequestCallback,
                           public qxdbsqlengine::ExecutionCallback,
                           public qxdbsqlengine::ResultSetCallback,
                           public qxdbsqlengine::BatchCallback,
                           public qxdbsqlengine::LobCallback,
                           public qxdbsqlengine::SchemaCallback,
                           public qxdbsqlengine::DebugEventCallback {
  public:
    virtual ~RecordingCallbacks() = default;

    // For a NotificationCallbacks (Add) and what has the same operation.
    template <class Registry>
    void AddTo(Registry& registry) {
        registry.Add(static_cast<qxdbsqlengine::ErrorCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::MessageCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::RequestCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::ExecutionCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::ResultSetCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::BatchCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::LobCallback&>(*this));
        registry.Add(static_cast<qxdbsqlengine::DebugEventCallback&>(*this));
    }
    // The same for a director.
    template <class Director>
    void RegisterWith(Director& director) {
        director.RegisterCallback(static_cast<qxdbsqlengine::ErrorCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::MessageCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::RequestCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::ExecutionCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::ResultSetCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::BatchCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::LobCallback&>(*this));
        director.RegisterCallback(static_cast<qxdbsqlengine::DebugEventCallback&>(*this));
    }

    // Called with each line, after it was written down and without a lock: to cancel, to look, to throw.
    void OnLine(std::function<void(const std::string&)> newHook) { hook = std::move(newHook); }

    // Of the updates only the forced one right before the end of its result set, since the others depend on
    // the time.
    std::vector<std::string> Lines() const {
        const std::vector<std::string> all = AllLines();
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const bool isUpdate = all[i].compare(0, 17, "OnResultSetUpdate") == 0;
            const bool isLast = i + 1 < all.size() && all[i + 1].compare(0, 14, "OnResultSetEnd") == 0;
            if (!isUpdate || isLast)
                lines.push_back(all[i]);
        }
        return lines;
    }
    std::vector<std::string> AllLines() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return written;
    }
    // Lines that begin with `prefix`.
    std::vector<std::string> LinesOf(const std::string& prefix) const {
        std::vector<std::string> lines;
        for (const std::string& line : AllLines()) {
            if (line.compare(0, prefix.size(), prefix) == 0)
                lines.push_back(line);
        }
        return lines;
    }
    // The `elapsed` of each line, -1 where there is none.
    std::vector<double> Times() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return times;
    }
    // The texts of the last OnError's records in full.
    Errors LastErrors() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return lastErrors;
    }
    void Clear() {
        const std::lock_guard<std::mutex> guard(mutex);
        written.clear();
        times.clear();
    }

    void OnError(const Errors& errors) override {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            lastErrors = errors;
            lastErrors.Reset();
        }
        std::string text;
        while (errors.MoreErrors())
            text += (text.empty() ? "" : " | ") + errors.GetNextError().GetErrorDescription();
        Write("OnError " + text);
    }
    void OnMessage(const char* text, qxdbsqlengine::OutputMessageType type) override {
        Write("OnMessage " + std::to_string(type) + " " + (text == nullptr ? "(null)" : text));
    }
    void OnRequestBegin(double elapsed) override { Write("OnRequestBegin", elapsed); }
    void OnRequestEnd(double elapsed) override { Write("OnRequestEnd", elapsed); }
    void OnCancelFailed(double elapsed) override { Write("OnCancelFailed", elapsed); }
    void OnExecuteBegin(double elapsed) override { Write("OnExecuteBegin", elapsed); }
    void OnExecuteEnd(double elapsed) override { Write("OnExecuteEnd", elapsed); }
    void OnPreResultSetBegin(double elapsed, int id, qxdbsqlengine::ResultSetType type) override {
        Write("OnPreResultSetBegin " + std::to_string(id) + " " + std::to_string(type), elapsed);
    }
    void OnResultSetBegin(double elapsed, int id, qxdbsqlengine::ResultSetType type) override {
        Write("OnResultSetBegin " + std::to_string(id) + " " + std::to_string(type), elapsed);
    }
    void OnResultSetUpdate(double elapsed, int id, int rows) override {
        Write("OnResultSetUpdate " + std::to_string(id) + " " + std::to_string(rows), elapsed);
    }
    void OnResultSetEnd(double elapsed, int id) override {
        Write("OnResultSetEnd " + std::to_string(id), elapsed);
    }
    void OnBatchItemBegin(double elapsed, int itemIndex, int itemValue) override {
        Write("OnBatchItemBegin " + std::to_string(itemIndex) + " " + std::to_string(itemValue), elapsed);
    }
    void OnBatchItemEnd(double elapsed, int rowCount,
                        const qxdbsqlengine::ParameterList& parameters) override {
        Write("OnBatchItemEnd " + std::to_string(rowCount) + " " +
                  std::to_string(parameters.GetParameterCount()),
              elapsed);
    }
    void OnLobExtracted(const char* fileName, double elapsed) override {
        Write(std::string("OnLobExtracted ") + (fileName == nullptr ? "(null)" : fileName), elapsed);
    }
    void OnLobImported(double elapsed) override { Write("OnLobImported", elapsed); }
    void OnSchemaPrepared(qxdb::Schema*, qxdbsqlengine::ParameterList&) override {
        Write("OnSchemaPrepared");
    }
    void OnDebugEvent(int event, void*, double elapsed) override {
        Write("OnDebugEvent " + std::to_string(event), elapsed);
    }

  private:
    void Write(const std::string& line, double elapsed = -1.0) {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            written.push_back(line);
            times.push_back(elapsed);
        }
        if (hook)
            hook(line);
    }

    mutable std::mutex mutex;
    std::vector<std::string> written;
    std::vector<double> times;
    Errors lastErrors;
    std::function<void(const std::string&)> hook;
};

// Lends connections of one server, a new one for each request, and counts.
class CountingConnectionCallback : public qxdbsqlengine::ConnectionRequestCallback {
  public:
    explicit CountingConnectionCallback(ScriptedServer& scriptedServer) : server(scriptedServer) {}

    qxdb::Connection* RequestConnection(char const* dataSourceName, bool first, bool second) override {
        const std::lock_guard<std::mutex> guard(mutex);
        calls.push_back(std::string("request ") + dataSourceName + (first ? " true" : " false") +
                        (second ? " true" : " false"));
        if (refuses)
            return nullptr;
        return new qxdb::Connection(server.Connect());
    }
    void ReleaseConnection(qxdb::Connection* connection) override {
        const std::lock_guard<std::mutex> guard(mutex);
        calls.push_back("release");
        delete connection;
    }
    qxdbsqlengine::ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override {
        return qxdbsqlengine::ServerIdentifier(dataSourceName);
    }

    // From now on there is no connection.
    void Refuse() {
        const std::lock_guard<std::mutex> guard(mutex);
        refuses = true;
    }
    // "request <data source> true false", "release".
    std::vector<std::string> Calls() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return calls;
    }

  private:
    ScriptedServer& server;
    mutable std::mutex mutex;
    std::vector<std::string> calls;
    bool refuses = false;
};

}  // namespace qxtest
