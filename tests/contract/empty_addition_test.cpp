// A start whose addition to the registry goes well and makes no capture.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "MonitorManager.h"
#include "contract_test.h"
#include "next_definition.h"
#include "thread_watch.h"

namespace {

constexpr const char* kAddition =
    "_ZN15CMonitorManager18AddCaptureInstanceEjj10CAP_METHOD8CAP_TYPEj8CAP_MODE";

std::atomic<bool> additionsMakeNothing{false};

class EmptyAddition : public ContractTest {
  protected:
    void TearDown() override {
        additionsMakeNothing = false;
        ContractTest::TearDown();
    }
};

// As with a registry that a host has put in front of the library's.
TEST_F(EmptyAddition, failsTheStartWithoutAThread) {
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    CapMgr_SetMaxFrameRate(index, 9);
    additionsMakeNothing = true;
    trace_recorder::forget();
    EXPECT_EQ(CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE),
              1U);
    EXPECT_EQ(trace_recorder::messages().back(),
              step("CPST", "start capture end", "[Ret:1, CapType:4, FrameRate:0]"));
    EXPECT_EQ(thread_watch::created(), 0U);
}

}  // namespace

// In front of the library's own.
bool CMonitorManager::AddCaptureInstance(unsigned int dwCaptureIndex, unsigned int dwMonitorIndex,
                                         CAP_METHOD nCaptureType, CAP_TYPE nShareType,
                                         unsigned int dwCustomVersion, CAP_MODE eCapMode) {
    using Addition = bool (*)(CMonitorManager*, unsigned int, unsigned int, CAP_METHOD, CAP_TYPE,
                              unsigned int, CAP_MODE);
    static const auto next = nextDefinition<Addition>(kAddition);
    return additionsMakeNothing || next(this, dwCaptureIndex, dwMonitorIndex, nCaptureType,
                                        nShareType, dwCustomVersion, eCapMode);
}
