#include "contract_test.h"

#include <stdexcept>

#include "MonitorManager.h"
#include "bounded_memory_faults.h"
#include "lock_recorder.h"
#include "thread_watch.h"

namespace {

// No test makes more capture indexes.
constexpr unsigned int kMostCaptureIndexes = 8;

void stopEveryCapture() {
    trace_recorder::setLevel(-1);
    for (unsigned int index = 0; index < kMostCaptureIndexes; ++index) {
        CapMgr_StopCapture(index, 0);
    }
}

}  // namespace

void ContractTest::SetUp() {
    scripted::reset();
    scripted::Display display =
        scripted::makeDisplay(kMain, kMainLeft, kMainTop, kMainWidth, kMainHeight);
    display.main = true;
    scripted::plugIn(display);
    driven_time::reset();
    memory_faults::reset();
    thread_watch::reset();
    lock_recorder::forget();
    trace_recorder::reset();
}

void ContractTest::TearDown() {
    memory_faults::reset();
    scripted::letGo();
    stopEveryCapture();
    CMonitorManager::DeleteInstance();
    driven_time::runFreely();
    EXPECT_TRUE(thread_watch::awaitNone()) << "a capture thread does not end";
    EXPECT_EQ(trace_recorder::faults(), std::vector<std::string>());
    EXPECT_EQ(scripted::faults(), std::vector<std::string>());
    EXPECT_EQ(scripted::leaks(), std::vector<std::string>());
}

void ContractTest::renew() {
    ContractTest::TearDown();
    ContractTest::SetUp();
}

void ContractTest::plugInSecond() {
    scripted::plugIn(scripted::makeDisplay(kSecond, 7, 3, 80, 60));
}

unsigned int ContractTest::startedCapture(size_t frames, CAP_TYPE type) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    if (CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, type, 0, PARALLEL_CAPTURE_MODE) !=
            0 ||
        !driven_time::awaitSleep()) {
        throw std::runtime_error("the capture does not start");
    }
    runRounds(frames - 1);
    forgetEverything();
    return index;
}

void ContractTest::runRounds(size_t rounds) {
    for (size_t i = 0; i < rounds; ++i) {
        driven_time::wake();
        if (!driven_time::awaitSleep()) {
            throw std::runtime_error("the capture thread does not go on");
        }
    }
}

void ContractTest::forgetEverything() {
    trace_recorder::forget();
    scripted::forgetCalls();
    lock_recorder::forget();
}
