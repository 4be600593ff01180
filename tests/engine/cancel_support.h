// What the tests of cancelling share: a director whose request stops where a test wants it to, and that tells
// which thread it is on.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "director_support.h"
#include "engine/cancel_times.h"
#include "engine/engine.h"
#include "platform/resource_loader.h"
#include "request/request_fixture.h"
#include "support/gate.h"

namespace qxtest {

// Times as long as the real ones, in shorter steps: for runs that are expected to end.
inline qxdbsqlengine::CancelTimes PatientTimes() {
    qxdbsqlengine::CancelTimes times;
    times.driverCancelMs = 15000;
    times.watchPasses = 1500;
    times.watchPassMs = 10;
    return times;
}

// For runs that are expected to be given up.
inline qxdbsqlengine::CancelTimes ImpatientTimes() {
    qxdbsqlengine::CancelTimes times;
    times.driverCancelMs = 50;
    times.watchPasses = 10;
    times.watchPassMs = 10;
    return times;
}

inline const std::string& NotRespondedText() {
    static const std::string text = qxdbsqlengine::ResourceLoader::LoadString(146);
    return text;
}

class CancelledRequest final : public OpenRequest {
  public:
    // Notifies the same callbacks as `other` does.
    CancelledRequest(SQLRequest& other, const qxdbsqlengine::ConnectionRequestCallbackPtr& lender,
                     const SmartPtr<DataStorage>& target, std::atomic<int>& failures)
        : OpenRequest(other.*(&CancelledRequest::callbacks), lender, target, nullptr, std::string()),
          cancelFailures(failures) {}

    void NotifyCancelFailed() override {
        ++cancelFailures;
        SQLRequest::NotifyCancelFailed();
    }
    // As the caller of Cancel finds it.
    bool Cancel() override {
        const bool result = SQLRequest::Cancel();
        cancelResult = result;
        return result;
    }

    std::atomic<bool> cancelResult{false};

  private:
    std::atomic<int>& cancelFailures;
};

// A request that keeps its engine busy until the gate opens.
class GateRequest final : public qxdbsqlengine::Request {
  public:
    explicit GateRequest(const Gate& newGate) : gate(newGate) {}
    bool Execute(const qxdbsqlengine::ConnectionDefElement&, qxdb::Connection&) override { return true; }
    bool Execute(const qxdbsqlengine::ConnectionDefElement&) override {
        gate.Pass();
        return true;
    }

  private:
    const Gate gate;
};

// What the engine is given next waits at the gate.
inline void KeepBusy(const qxutils::ThreadPtr<qxdbsqlengine::IEngine>& engine, const Gate& gate) {
    qxdbsqlengine::RequestPtr busy(new GateRequest(gate));
    static_cast<qxdbsqlengine::EngineT<qxdbsqlengine::RequestPtr>*>(engine.operator->())->QueueRequest(busy);
}

class CancelTest : public DirectorTest {
  protected:
    explicit CancelTest(const qxdbsqlengine::CancelTimes& shortTimes = PatientTimes()) : times(shortTimes) {
        UseRequest(*director);
        calls.OnLine([this](const std::string& line) { Note(line); });
    }

    // Gives the director a request of these tests.
    CancelledRequest& UseRequest(OpenDirector& owner) {
        const qxdbsqlengine::RequestPtr before = owner.GetRequest();
        request = new CancelledRequest(dynamic_cast<SQLRequest&>(*before), connections,
                                       owner.GetDataStorage(), cancelFailures);
        // CheckingObjectErrors then tells whether the director counts as running.
        request->SetFetchObjectErrors(true);
        owner.SetRequest(qxdbsqlengine::RequestPtr(request));
        return *request;
    }
    // Starts `sql` and leaves the mark of object errors, which Execute of a director takes away.
    void Start(const std::string& sql) {
        request->SetSQL(sql, SQLRequest::RequestSQL, false, false);
        director->Execute();
    }
    bool CountsAsRunning() { return director->CheckingObjectErrors(); }

    // Called with each line, on the thread of its notification.
    void AtLine(const std::string& line, std::function<void()> action) { lineActions[line] = action; }
    // The threads of the notifications that were written down, in order.
    std::vector<std::thread::id> Threads() const {
        const std::lock_guard<std::mutex> guard(threadsMutex);
        return seenThreads;
    }
    bool WaitForLine(const std::string& line, std::size_t count = 1) {
        return Eventually([this, &line, count] { return calls.LinesOf(line).size() >= count; });
    }
    // The run has given its connection back.
    bool WaitForReturn() {
        return Eventually([this] { return Releases() == 1; });
    }
    // Every run and every watchdog is gone, so nothing more can come. The lender is gone as well then.
    bool WaitUntilNobodyIsLeft() {
        director.reset();
        connections = qxdbsqlengine::ConnectionRequestCallbackPtr();
        return Eventually([this] { return lenderGone.load(); });
    }
    // How often the connection came back.
    long Releases() const {
        const Lines borrowed = lender->Calls();
        return std::count(borrowed.begin(), borrowed.end(), "release");
    }
    Lines Column(const SmartPtr<DataStorage>& store, int resultSet = 0) {
        Lines texts;
        for (int row = 0; row < store->GetNumberOfRows(resultSet); ++row)
            texts.push_back(store->AsString(resultSet, row, 0, std::locale::classic()));
        return texts;
    }

    const qxdbsqlengine::ScopedCancelTimes times;
    CancelledRequest* request = nullptr;  // the director's
    std::atomic<int> cancelFailures{0};

  private:
    void Note(const std::string& line) {
        {
            const std::lock_guard<std::mutex> guard(threadsMutex);
            seenThreads.push_back(std::this_thread::get_id());
        }
        const auto action = lineActions.find(line);
        if (action != lineActions.end())
            action->second();
    }

    mutable std::mutex threadsMutex;
    std::vector<std::thread::id> seenThreads;  // guarded by threadsMutex
    std::map<std::string, std::function<void()>> lineActions;
};

// Runs that nobody can end in time.
class CancelFailedTest : public CancelTest {
  protected:
    CancelFailedTest() : CancelTest(ImpatientTimes()) {}
};

}  // namespace qxtest
