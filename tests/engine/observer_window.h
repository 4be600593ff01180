// A window that writes down what a director tells it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/observers.h"
#include "params/parameter_list.h"
#include "platform/os/window.h"

namespace qxtest {

// One notification with every field of its payload, in order: "8 OnPreResultSetBegin 1.5 0 4". Errors are
// walked from where they stand: their texts, joined by "|". Pointers are written as what they point to.
inline std::string Describe(WPARAM kind, LPARAM lParam) {
    using namespace qxdbsqlengine;
    std::ostringstream line;
    line << kind << ' ';
    switch (kind) {
        case KindError: {
            const auto& payload = NotificationAs<ErrorNotification>(lParam);
            line << "OnError ";
            for (const char* comma = ""; payload.errors.MoreErrors(); comma = "|") {
                line << comma << payload.errors.GetNextError().GetErrorDescription();
            }
            break;
        }
        case KindMessage: {
            const auto& payload = NotificationAs<MessageNotification>(lParam);
            line << "OnMessage [" << payload.text << "] " << payload.type;
            break;
        }
        case KindRequestBegin:
            line << "OnRequestBegin " << NotificationAs<RequestBeginNotification>(lParam).elapsed;
            break;
        case KindRequestEnd:
            line << "OnRequestEnd " << NotificationAs<RequestEndNotification>(lParam).elapsed;
            break;
        case KindCancelFailed:
            line << "OnCancelFailed " << NotificationAs<CancelFailedNotification>(lParam).elapsed;
            break;
        case KindExecuteBegin:
            line << "OnExecuteBegin " << NotificationAs<ExecuteBeginNotification>(lParam).elapsed;
            break;
        case KindExecuteEnd:
            line << "OnExecuteEnd " << NotificationAs<ExecuteEndNotification>(lParam).elapsed;
            break;
        case KindPreResultSetBegin: {
            const auto& payload = NotificationAs<PreResultSetBeginNotification>(lParam);
            line << "OnPreResultSetBegin " << payload.elapsed << ' ' << payload.resultSetId << ' '
                 << payload.type;
            break;
        }
        case KindResultSetBegin: {
            const auto& payload = NotificationAs<ResultSetBeginNotification>(lParam);
            line << "OnResultSetBegin " << payload.elapsed << ' ' << payload.resultSetId << ' '
                 << payload.type;
            break;
        }
        case KindResultSetUpdate: {
            const auto& payload = NotificationAs<ResultSetUpdateNotification>(lParam);
            line << "OnResultSetUpdate " << payload.elapsed << ' ' << payload.resultSetId << ' '
                 << payload.rows;
            break;
        }
        case KindResultSetEnd: {
            const auto& payload = NotificationAs<ResultSetEndNotification>(lParam);
            line << "OnResultSetEnd " << payload.elapsed << ' ' << payload.resultSetId;
            break;
        }
        case KindBatchItemBegin: {
            const auto& payload = NotificationAs<BatchItemBeginNotification>(lParam);
            line << "OnBatchItemBegin " << payload.elapsed << ' ' << payload.itemIndex << ' '
                 << payload.itemValue;
            break;
        }
        case KindBatchItemEnd: {
            const auto& payload = NotificationAs<BatchItemEndNotification>(lParam);
            line << "OnBatchItemEnd " << payload.elapsed << ' ' << payload.rowCount << ' '
                 << payload.parameters->GetParameterCount() << " parameters";
            break;
        }
        case KindLobExtracted: {
            const auto& payload = NotificationAs<LobExtractedNotification>(lParam);
            line << "OnLobExtracted [" << payload.fileName << "] " << payload.elapsed;
            break;
        }
        case KindLobImported:
            line << "OnLobImported " << NotificationAs<LobImportedNotification>(lParam).elapsed;
            break;
        case KindDebugEvent: {
            const auto& payload = NotificationAs<DebugEventNotification>(lParam);
            line << "OnDebugEvent " << payload.event << ' ' << *static_cast<const int*>(payload.data) << ' '
                 << payload.elapsed;
            break;
        }
        default:
            line << "unknown";
    }
    return line.str();
}

// The director of a payload: its last field, whatever the kind.
inline qxdbsqlengine::CSingleRequestDirector* DirectorOf(WPARAM kind, LPARAM lParam) {
    using namespace qxdbsqlengine;
    switch (kind) {
        case KindError:
            return NotificationAs<ErrorNotification>(lParam).director;
        case KindMessage:
            return NotificationAs<MessageNotification>(lParam).director;
        case KindRequestBegin:
            return NotificationAs<RequestBeginNotification>(lParam).director;
        case KindRequestEnd:
            return NotificationAs<RequestEndNotification>(lParam).director;
        case KindCancelFailed:
            return NotificationAs<CancelFailedNotification>(lParam).director;
        case KindExecuteBegin:
            return NotificationAs<ExecuteBeginNotification>(lParam).director;
        case KindExecuteEnd:
            return NotificationAs<ExecuteEndNotification>(lParam).director;
        case KindPreResultSetBegin:
            return NotificationAs<PreResultSetBeginNotification>(lParam).director;
        case KindResultSetBegin:
            return NotificationAs<ResultSetBeginNotification>(lParam).director;
        case KindResultSetUpdate:
            return NotificationAs<ResultSetUpdateNotification>(lParam).director;
        case KindResultSetEnd:
            return NotificationAs<ResultSetEndNotification>(lParam).director;
        case KindBatchItemBegin:
            return NotificationAs<BatchItemBeginNotification>(lParam).director;
        case KindBatchItemEnd:
            return NotificationAs<BatchItemEndNotification>(lParam).director;
        case KindLobExtracted:
            return NotificationAs<LobExtractedNotification>(lParam).director;
        case KindLobImported:
            return NotificationAs<LobImportedNotification>(lParam).director;
        case KindDebugEvent:
            return NotificationAs<DebugEventNotification>(lParam).director;
        default:
            return nullptr;
    }
}

// The number of the kind alone.
inline std::string KindOf(const std::string& line) {
    return line.substr(0, line.find(' '));
}

// A window of the thread that makes it, which belongs to this object: used, pumped and destroyed on that
// thread.
class ObserverWindow {
  public:
    // Called with the kind, after it was written down.
    using Hook = std::function<void(WPARAM kind)>;

    ObserverWindow()
        : handle(qxos::CreateMessageWindow([this](HWND, UINT message, WPARAM kind, LPARAM lParam) {
              return Take(message, kind, lParam);
          })) {}
    ~ObserverWindow() { Destroy(); }
    ObserverWindow(const ObserverWindow&) = delete;
    ObserverWindow& operator=(const ObserverWindow&) = delete;

    HWND Handle() const { return handle; }
    void Destroy() { DestroyWindow(handle); }
    void OnKind(Hook newHook) { hook = std::move(newHook); }

    const std::vector<std::string>& Lines() const { return lines; }
    // Without the updates of row counts that depend on the time.
    std::vector<std::string> Kinds() const {
        std::vector<std::string> kinds;
        for (const std::string& line : lines) {
            if (KindOf(line) != "10") {
                kinds.push_back(KindOf(line));
            }
        }
        return kinds;
    }
    std::size_t Count(WPARAM kind) const {
        std::size_t count = 0;
        for (const std::string& line : lines) {
            count += KindOf(line) == std::to_string(kind) ? 1 : 0;
        }
        return count;
    }
    // The directors named, one after the other.
    const std::vector<const void*>& Directors() const { return directors; }
    void Clear() {
        lines.clear();
        directors.clear();
    }

    // Pumps until the condition holds, for 10 seconds at most.
    static bool PumpUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            qxos::PumpMessages(1);
        }
        return true;
    }
    bool PumpUntilKind(WPARAM kind, std::size_t count = 1) {
        return PumpUntil([this, kind, count] { return Count(kind) >= count; });
    }

  private:
    LRESULT Take(UINT message, WPARAM kind, LPARAM lParam) {
        EXPECT_EQ(message, 0x1400u);
        EXPECT_EQ(std::this_thread::get_id(), owner);
        lines.push_back(Describe(kind, lParam));
        directors.push_back(DirectorOf(kind, lParam));
        if (hook) {
            // May be replaced while it runs.
            const Hook current = hook;
            current(kind);
        }
        return 0;
    }

    const std::thread::id owner = std::this_thread::get_id();
    HWND handle;
    Hook hook;
    std::vector<std::string> lines;
    std::vector<const void*> directors;
};

}  // namespace qxtest
