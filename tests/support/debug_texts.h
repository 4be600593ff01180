// What goes to the debug output while a test runs.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/os/debug_output.h"

namespace qxtest {

// Collects all debug text of the process for its lifetime, on any thread. One object at a time.
class DebugTexts {
  public:
    DebugTexts() {
        const std::lock_guard<std::mutex> guard(Shared().mutex);
        Shared().texts.clear();
        before = qxos::SetDebugOutputHook(&Collect);
    }
    ~DebugTexts() { qxos::SetDebugOutputHook(before); }
    DebugTexts(const DebugTexts&) = delete;
    DebugTexts& operator=(const DebugTexts&) = delete;

    std::vector<std::string> Texts() const {
        const std::lock_guard<std::mutex> guard(Shared().mutex);
        return Shared().texts;
    }

  private:
    struct State {
        std::mutex mutex;
        std::vector<std::string> texts;
    };
    static State& Shared() {
        static State state;
        return state;
    }
    static void Collect(const char* text) {
        const std::lock_guard<std::mutex> guard(Shared().mutex);
        Shared().texts.emplace_back(text);
    }

    qxos::DebugOutputHook before;
};

}  // namespace qxtest
