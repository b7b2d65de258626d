// CCaptureBase: pause and capture mode.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "engine_loop.h"

namespace {

using testing::ElementsAre;

TEST_F(EngineLoop, pausesAndResumesOnce) {
    EXPECT_TRUE(capture_.PauseCapture(true));
    EXPECT_FALSE(capture_.PauseCapture(true));
    EXPECT_TRUE(capture_.PauseCapture(false));
    EXPECT_FALSE(capture_.PauseCapture(false));
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::PauseCapture... Pause!"),
                            information("CCaptureBase::PauseCapture... Resume!")));
}

TEST_F(EngineLoop, clearsPauseAndStopAtEachStart) {
    thread_watch::failNextCreation(EAGAIN);
    capture_.m_bPause = true;
    capture_.m_bStop = true;
    capture_.StartCapture();
    EXPECT_FALSE(capture_.m_bPause);
    EXPECT_FALSE(capture_.m_bStop);
}

struct ModeSwitch {
    bool serial;
    unsigned int mode;
    bool paused;  // before
    bool switched;
    bool pausedThen;
    int modeThen;  // 6 before
    const char* text;
};

class SwitchedMode : public EngineLoop, public testing::WithParamInterface<ModeSwitch> {};

TEST_P(SwitchedMode, isParallelOrSerialAndPausesTheLoop) {
    const ModeSwitch& row = GetParam();
    capture_.serial = row.serial;
    capture_.m_bPause = row.paused;
    capture_.m_eCaptureMode = static_cast<CAP_MODE>(6);
    EXPECT_EQ(capture_.SwitchMode(row.mode), row.switched);
    EXPECT_EQ(capture_.m_bPause, row.pausedThen);
    EXPECT_EQ(static_cast<int>(capture_.GetCaptureMode()), row.modeThen);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information(std::string("CCaptureBase::SwitchMode()... ") + row.text)));
}

constexpr const char* kSerial = "SERIAL_CAPTURE_MODE";
constexpr const char* kParallel = "PARALLEL_CAPTURE_MODE";

INSTANTIATE_TEST_SUITE_P(Modes, SwitchedMode,
                         testing::Values(ModeSwitch{false, 0, false, false, false, 6, "disable"},
                                         ModeSwitch{false, 1, true, false, true, 6, "disable"},
                                         ModeSwitch{false, 2, true, false, true, 6, "disable"},
                                         ModeSwitch{true, 0, false, true, true, 0, kSerial},
                                         ModeSwitch{true, 0, true, true, true, 0, kSerial},
                                         ModeSwitch{true, 1, true, true, false, 1, kParallel},
                                         ModeSwitch{true, 1, false, true, false, 1, kParallel},
                                         ModeSwitch{true, 2, true, false, true, 6, "unknowed"},
                                         ModeSwitch{true, 2, false, false, false, 6, "unknowed"},
                                         ModeSwitch{true, 0xFFFFFFFF, false, false, false, 6,
                                                    "unknowed"}));

struct ModeSetting {
    bool serial;
    int mode;
    int stored;
};

class StoredMode : public EngineLoop, public testing::WithParamInterface<ModeSetting> {};

TEST_P(StoredMode, isTheOneAskedForButSerialOnlyWithSupport) {
    const ModeSetting& row = GetParam();
    capture_.serial = row.serial;
    capture_.m_bPause = true;
    capture_.m_eCaptureMode = static_cast<CAP_MODE>(6);
    capture_.SetCaptureMode(static_cast<CAP_MODE>(row.mode));
    EXPECT_EQ(static_cast<int>(capture_.GetCaptureMode()), row.stored);
    EXPECT_TRUE(capture_.m_bPause) << "not touched";
    std::vector<Message> expected = {
        information("CCaptureBase::SetCaptureMode begin. cap mode:" + std::to_string(row.mode))};
    if (row.mode != row.stored) {
        expected.push_back(
            information("CCaptureBase::SetCaptureMode, not support serial, change to parallel."));
    }
    expected.push_back(information("CCaptureBase::SetCaptureMode end."));
    EXPECT_EQ(trace_recorder::messages(), expected);
}

INSTANTIATE_TEST_SUITE_P(Modes, StoredMode,
                         testing::Values(ModeSetting{false, 0, 1}, ModeSetting{false, 1, 1},
                                         ModeSetting{false, 5, 5}, ModeSetting{true, 0, 0},
                                         ModeSetting{true, 1, 1}, ModeSetting{true, -1, -1}));

TEST_F(EngineLoop, idlesInSerialModeUntilItIsParallelAgain) {
    capture_.serial = true;
    start();
    capture_.SwitchMode(SERIAL_CAPTURE_MODE);
    EXPECT_EQ(nextSleep(), 500000U);
    EXPECT_EQ(capture_.captureCalls, 1);
    capture_.SwitchMode(PARALLEL_CAPTURE_MODE);
    EXPECT_EQ(nextSleep(), 333 * kMs);
    EXPECT_EQ(capture_.captureCalls, 2);
}

}  // namespace
