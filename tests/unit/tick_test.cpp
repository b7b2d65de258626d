#include <gtest/gtest.h>

#include <chrono>

#include "vqutilc.h"

namespace {

TEST(TickCount, advancesInMilliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const uint32_t first = get_tick_count();
    while (get_tick_count() - first < 20) {
        ASSERT_LT(Clock::now() - begin, std::chrono::seconds(10));
    }
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(19));
}

}  // namespace
