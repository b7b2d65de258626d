// The fixture of the contract tests: a fresh library over a scripted platform, with every support
// call under the test's control.
//
// Each test starts with one display, kMain, and no manager. TearDown ends what still runs, deletes
// the manager, and fails the test for a mistake with a platform object, a leak of one, a message
// that was not told twice, or a thread that does not end.
#ifndef CONTRACT_CONTRACT_TEST_H
#define CONTRACT_CONTRACT_TEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "CaptureManager.h"
#include "driven_time.h"
#include "scripted_platform.h"
#include "trace_recorder.h"

class ContractTest : public testing::Test {
  protected:
    static constexpr uint32_t kMain = 722;
    static constexpr uint32_t kSecond = 69;
    static constexpr size_t kMainWidth = 161;  // points and pixels
    static constexpr size_t kMainHeight = 91;
    static constexpr int kMainLeft = -161;
    static constexpr int kMainTop = -45;

    void SetUp() override;
    void TearDown() override;

    // A fresh library once more, all of the above asked of the one before.
    void renew();

    // A second display, 80 x 60 points at (7, 3), not the main one.
    static void plugInSecond();

    // A started capture of display 0 whose thread has delivered frames frames and is asleep after
    // the last one. Nothing recorded so far is kept.
    static unsigned int startedCapture(size_t frames = 1, CAP_TYPE type = CAP_TYPE_DESKTOP);

    // Lets the capture thread, asleep, run rounds more rounds, each to its sleep.
    static void runRounds(size_t rounds);

    static void forgetEverything();
};

// A window number as the interface takes it.
inline const void* window(uintptr_t number) {
    return reinterpret_cast<const void*>(number);
}

#endif
