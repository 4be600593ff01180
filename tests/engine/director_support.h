// A director over the scripted server, with callbacks that write down.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine/director.h"
#include "support/recording_callbacks.h"
#include "support/scripted_driver.h"

namespace qxtest {

using Lines = std::vector<std::string>;

// Waits up to 10 seconds for the condition.
inline bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 10000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

// Opens up what derived directors use, and counts engines.
class OpenDirector : public qxdbsqlengine::CSingleRequestDirector {
  public:
    using CSingleRequestDirector::CSingleRequestDirector;
    ~OpenDirector() override { LeaveRun(); }

    using CSingleRequestDirector::GetEngine;
    using CSingleRequestDirector::GetObservers;
    using CSingleRequestDirector::ReleaseEngine;
    using CSingleRequestDirector::SetRequest;

    int engines = 0;
    bool noEngine = false;

  protected:
    qxdbsqlengine::ThreadPtr<qxdbsqlengine::IEngine> CreateEngine() override {
        ++engines;
        return noEngine ? qxdbsqlengine::ThreadPtr<qxdbsqlengine::IEngine>()
                        : CSingleRequestDirector::CreateEngine();
    }
};

// Tells when nobody holds it any more.
class WatchedLender : public CountingConnectionCallback {
  public:
    WatchedLender(ScriptedServer& scriptedServer, std::atomic<bool>& goneMark)
        : CountingConnectionCallback(scriptedServer), gone(goneMark) {}
    ~WatchedLender() override { gone = true; }

  private:
    std::atomic<bool>& gone;
};

class DirectorTest : public testing::Test {
  protected:
    explicit DirectorTest(qxdb::DBTYPE type = qxdb::DBTYPE_UNSET)
        : def(type, "pubs", 1.0, "sa", ""),
          lender(new WatchedLender(server, lenderGone)),
          connections(lender),
          director(std::make_unique<OpenDirector>(def, connections, nullptr, std::string(), true)) {
        calls.RegisterWith(*director);
    }
    void TearDown() override {
        server.Release();
        director.reset();
        connections = qxdbsqlengine::ConnectionRequestCallbackPtr();
        // A run that outlives its director holds the lender, and the lender uses the server.
        EXPECT_TRUE(Eventually([this] { return lenderGone.load(); })) << "a run or a director is left";
    }

    // The end of the run, seen by the director itself.
    bool WaitEnd(std::size_t ends = 1) {
        return Eventually([this, ends] { return calls.LinesOf("OnRequestEnd").size() >= ends; }) &&
               Eventually([this] { return !director->IsExecuting(); });
    }
    void Execute(const std::string& sql) {
        director->Execute(sql, qxdbsqlengine::SQLRequest::RequestSQL, false, false);
    }

    ScriptedServer server;
    std::atomic<bool> lenderGone{false};
    qxdbsqlengine::ConnectionDefElement def;
    CountingConnectionCallback* lender;
    qxdbsqlengine::ConnectionRequestCallbackPtr connections;
    RecordingCallbacks calls;
    std::unique_ptr<OpenDirector> director;
};

}  // namespace qxtest
