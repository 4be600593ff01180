// What the tests of the reading of scripts share.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "batch/batch_limits.h"
#include "batch/batch_processor_thread.h"
#include "platform/os/file_mapping.h"
#include "platform/qxutils/event.h"
#include "platform/qxutils/lock_fault.h"
#include "support/debug_texts.h"
#include "support/fake_parser.h"

namespace qxtest {

using Lines = std::vector<std::string>;
using BatchInfo = QXDBBatchProcessorThread::BatchInfo;

// Other limits for the processors that are made in its lifetime.
class ScopedLimits {
  public:
    ScopedLimits(long silenceMs, std::size_t items, std::size_t bytes) : before(qxbatch::limits) {
        qxbatch::limits = {silenceMs, items, bytes};
    }
    ~ScopedLimits() { qxbatch::limits = before; }
    ScopedLimits(const ScopedLimits&) = delete;
    ScopedLimits& operator=(const ScopedLimits&) = delete;

  private:
    const qxbatch::Limits before;
};

// Sees that a thread asks for its n-th lock.
class LockWatcher : public qxutils::LockFaultInjector {
  public:
    explicit LockWatcher(int count) : left(count) {
        asked.SetTimeout(10000);
        qxutils::SetLockFaultInjector(this);
    }
    ~LockWatcher() override { qxutils::SetLockFaultInjector(nullptr); }

    void WatchThisThread() { watched = std::this_thread::get_id(); }
    // Up to 10 seconds.
    bool Wait() { return asked.Lock(); }
    bool RefuseLock(const void*) override {
        if (std::this_thread::get_id() == watched.load() && --left == 0)
            asked.SetEvent();
        return false;
    }

  private:
    std::atomic<std::thread::id> watched{};
    std::atomic<int> left;
    qxutils::Event asked{true, false, ""};
};

// A script file in the directory for temporary files, removed with the object if it is still there.
class ScriptFile {
  public:
    ScriptFile() {
        qxos::TempFile file;
        EXPECT_TRUE(file.Create("script_"));
        path = file.Keep();
    }
    ~ScriptFile() { std::remove(path.c_str()); }
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;

    const std::string& Path() const { return path; }
    bool Exists() const { return std::ifstream(path).is_open(); }

  private:
    std::string path;
};

}  // namespace qxtest
