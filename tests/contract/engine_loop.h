// The fixture of the tests of the capture thread and its loop.
#ifndef CONTRACT_ENGINE_LOOP_H
#define CONTRACT_ENGINE_LOOP_H

#include <gtest/gtest.h>

#include "contract_test.h"
#include "scripted_capture.h"
#include "thread_watch.h"

constexpr useconds_t kMs = 1000;  // microseconds

class EngineLoop : public ContractTest {
  protected:
    void TearDown() override {
        capture_.StopCapture();
        EXPECT_TRUE(thread_watch::awaitNone());
        ContractTest::TearDown();
    }

    // Starts and lets the thread come to its first sleep.
    useconds_t start() {
        EXPECT_EQ(capture_.StartCapture(), 0U);
        return driven_time::awaitSleep().value_or(0);
    }

    // The length of the sleep after the next round.
    static useconds_t nextSleep() {
        driven_time::wake();
        return driven_time::awaitSleep().value_or(0);
    }

    ScriptedCapture capture_;
};

#endif
