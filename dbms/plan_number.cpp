#include "dbms/plan_number.h"

#include <atomic>
#include <chrono>

namespace qxdbsqlengine {

namespace {

constexpr unsigned int Mask = 0x7FFFFFFFu;
// So far a number may be ahead of the time before the time is taken for one that has wrapped around.
constexpr unsigned int LongestLead = 0x10000u;

std::atomic<unsigned int> lastNumber{0};

unsigned int TickCount() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<unsigned int>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

}  // namespace

unsigned int FollowingPlanNumber(unsigned int last, unsigned int now) {
    now &= Mask;
    const unsigned int lead = (last - now) & Mask;
    return lead < LongestLead ? (last + 1) & Mask : now;
}

std::string NextPlanNumber() {
    const unsigned int now = TickCount();
    unsigned int last = lastNumber.load();
    unsigned int next = FollowingPlanNumber(last, now);
    while (!lastNumber.compare_exchange_weak(last, next))
        next = FollowingPlanNumber(last, now);
    return std::to_string(next);
}

}  // namespace qxdbsqlengine
