#include <gtest/gtest.h>

#include <future>

#include "vqutilc.h"

namespace {

constexpr unsigned int kBoundMs = 10000;

TEST(Event, isUnsetToBeginWith) {
    VQ_Event event;
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, staysSetForEveryWait) {
    VQ_Event event;
    event.set_event();
    EXPECT_TRUE(event.wait(0));
    EXPECT_TRUE(event.wait(0));
}

TEST(Event, isUnsetAfterAReset) {
    VQ_Event event;
    event.set_event();
    event.reset_event();
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, wakesWhoWaits) {
    VQ_Event event;
    auto waiter = std::async(std::launch::async, [&] { return event.wait(kBoundMs); });
    event.set_event();
    EXPECT_TRUE(waiter.get());
}

TEST(Event, waitsOutItsTime) {
    VQ_Event event;
    const uint32_t start = get_tick_count();
    EXPECT_FALSE(event.wait(30));
    EXPECT_GE(get_tick_count() - start, 29U);
}

}  // namespace
