#include "dbms/plan_number.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace qxdbsqlengine {
namespace {

TEST(PlanNumberTest, FollowsTheTimeAndNeverRepeats) {
    const struct {
        unsigned int last;
        unsigned int now;
        unsigned int next;
    } cases[] = {
        {0, 100000, 100000},
        {100000, 100000, 100001},
        {100001, 100000, 100002},
        {100002, 100001, 100003},
        {100002, 100003, 100003},
        {0x7FFFFFFF, 0x7FFFFFFF, 0},
        {0x7FFFFFFF, 0x80000000u, 0},
        {0, 0x7FFFFFFF, 1},          // has wrapped around, the time has not yet
        {0x7FFFFFFF, 70000, 70000},  // the time has wrapped around
        {0x7FFF0000, 0xFFFFFFFFu, 0x7FFFFFFF},
    };
    for (const auto& one : cases)
        EXPECT_EQ(FollowingPlanNumber(one.last, one.now), one.next) << one.last << " " << one.now;
}

TEST(PlanNumberTest, NumbersOfSeveralThreadsDiffer) {
    constexpr int Count = 2000;
    std::vector<std::vector<std::string>> numbers(4);
    std::vector<std::thread> threads;
    for (std::vector<std::string>& own : numbers) {
        threads.emplace_back([&own] {
            for (int i = 0; i < Count; ++i)
                own.push_back(NextPlanNumber());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> all;
    for (const std::vector<std::string>& own : numbers)
        all.insert(own.begin(), own.end());
    EXPECT_EQ(all.size(), 4u * Count);
}

TEST(PlanNumberTest, NumbersAreDecimalAndFitAnInteger) {
    const std::string number = NextPlanNumber();
    EXPECT_EQ(number.find_first_not_of("0123456789"), std::string::npos);
    EXPECT_LE(std::stoll(number), 0x7FFFFFFFLL);
}

}  // namespace
}  // namespace qxdbsqlengine
