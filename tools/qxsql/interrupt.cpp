#include "tools/qxsql/interrupt.h"

#include <csignal>

namespace qxsql {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void OnInterrupt(int) {
    interrupted = true;
}

}  // namespace

std::atomic<bool>& Interrupted() {
    return interrupted;
}

void IgnoreClosedPipes() {
    // A reader that goes away, such as head, is a write that fails, and no end without order.
    std::signal(SIGPIPE, SIG_IGN);
}

void ArmInterrupt() {
    interrupted = false;
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    IgnoreClosedPipes();
}

}  // namespace qxsql
