// CCaptureBase as an object: its fields, its virtual slots, its birth and its end.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>

#include "contract_test.h"
#include "lock_recorder.h"
#include "scripted_capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class EngineObject : public ContractTest {
  protected:
    // Made where every byte was 0xA5, so that what the constructor does not set shows.
    ScriptedCapture& makeInUsedMemory(const CMonitor& monitor, CAP_METHOD method, CAP_TYPE type) {
        std::memset(memory_, 0xA5, sizeof memory_);
        capture_.reset(new (memory_) ScriptedCapture(monitor, method, type));
        return *capture_;
    }

    void TearDown() override {
        capture_.reset();
        ContractTest::TearDown();
    }

  private:
    struct Destroy {
        void operator()(ScriptedCapture* capture) const { capture->~ScriptedCapture(); }
    };

    alignas(ScriptedCapture) unsigned char memory_[sizeof(ScriptedCapture)];
    std::unique_ptr<ScriptedCapture, Destroy> capture_;
};

TEST_F(EngineObject, takesWhatItIsGivenAndItsMonitors) {
    const CMonitor monitor(kMain, 6);
    const ScriptedCapture& capture =
        makeInUsedMemory(monitor, static_cast<CAP_METHOD>(7), static_cast<CAP_TYPE>(9));
    EXPECT_EQ(static_cast<int>(capture.m_eCapMethod), 7);
    EXPECT_EQ(static_cast<int>(capture.m_eCapType), 9);
    EXPECT_EQ(static_cast<int>(capture.GetCapMethod()), 7);
    EXPECT_EQ(static_cast<int>(capture.GetCapType()), 9);
    EXPECT_EQ(capture.m_strMonitorName, "Panel 722");
    EXPECT_EQ(capture.m_rcCapture.left, kMainLeft);
    EXPECT_EQ(capture.m_rcCapture.top, kMainTop);
    EXPECT_EQ(capture.m_rcCapture.right, 0);
    EXPECT_EQ(capture.m_rcCapture.bottom, 46);
    EXPECT_EQ(capture.m_dwMonitorID, 6U) << "the position in the manager's list";
    EXPECT_EQ(capture.GetMonitorIndex(), 6U);
    EXPECT_TRUE(capture.m_bPrimary);
}

TEST_F(EngineObject, isNotPrimaryOnAnotherDisplay) {
    plugInSecond();
    const CMonitor monitor(kSecond, 1);
    EXPECT_FALSE(makeInUsedMemory(monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP).m_bPrimary);
}

TEST_F(EngineObject, hasNothingToBeginWith) {
    const CMonitor monitor(0, 8, 6, 32);
    const ScriptedCapture& capture =
        makeInUsedMemory(monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    EXPECT_EQ(capture.m_nSkipCaptureFrame, 0);
    EXPECT_EQ(capture.m_dwSkipFrameTick, 0U);
    EXPECT_THAT(capture.m_vecExcludeWnd, IsEmpty());
    EXPECT_EQ(capture.m_nWndCaptureID, 0U);
    EXPECT_EQ(capture.m_hCaptureThread, pthread_t{});
    EXPECT_EQ(capture.m_lpBuffer, nullptr);
    EXPECT_EQ(capture.m_lpAppBuffer, nullptr);
    EXPECT_EQ(capture.m_nbufSize, 0U);
    EXPECT_EQ(capture.m_dwFrameID, 0U);
    EXPECT_EQ(capture.m_dwUpdateCount, 0U);
    EXPECT_EQ(capture.m_iCapFailResult, 0);
    EXPECT_EQ(capture.GetCapFailResult(), 0);
    EXPECT_EQ(capture.m_nLastErrorCode, 0U);
    EXPECT_EQ(capture.m_nErrorCount, 0U);
    EXPECT_EQ(capture.m_nReserved, 0U);
    for (const auto& colour : capture.m_stBackColor) {
        EXPECT_EQ(colour.nRgnType + colour.nBrushType + colour.nColor, 0U);
    }
}

TEST_F(EngineObject, beginsStoppedAndInParallelMode) {
    const CMonitor monitor(0, 8, 6, 32);
    const ScriptedCapture& capture =
        makeInUsedMemory(monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_FALSE(capture.m_bFlag0);
    EXPECT_TRUE(capture.m_bFlag1);
    EXPECT_FALSE(capture.m_bReserved0);
    EXPECT_EQ(capture.m_nPacingMode, 0);
    EXPECT_EQ(capture.m_nCustomVersion, 0U);
    EXPECT_EQ(capture.m_eCaptureMode, PARALLEL_CAPTURE_MODE);
    EXPECT_EQ(capture.m_nMaxFrameRate, 3);
    EXPECT_EQ(capture.m_nCurFrameRate, 3);
    EXPECT_FALSE(capture.m_bCaptureFailed);
    EXPECT_FALSE(capture.m_bStop);
    EXPECT_FALSE(capture.m_bPause);
    EXPECT_FALSE(capture.m_bCaptureThreadRunning);
    EXPECT_FALSE(capture.m_bReserved1);
    EXPECT_FALSE(capture.m_bReserved2);
}

TEST_F(EngineObject, keepsItsCustomVersion) {
    ScriptedCapture capture;
    capture.SetCustomVersion(0xFFFFFFFE);
    EXPECT_EQ(capture.m_nCustomVersion, 0xFFFFFFFEU);
    EXPECT_EQ(capture.GetCustomVersion(), 0xFFFFFFFEU);
}

// Right of left and below, or the other way round: sizes have no sign.
TEST_F(EngineObject, scalesFromTheMonitorsSizeToItself) {
    const CMonitor upsideDown(0, -8, -6, 32);
    ScriptedCapture& capture =
        makeInUsedMemory(upsideDown, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_EQ(capture.m_oScaling.GetCapFrameSize().dwWidth, 8U);
    EXPECT_EQ(capture.m_oScaling.GetCapFrameSize().dwHeight, 6U);
    EXPECT_EQ(capture.m_oScaling.RefreshScalingAlg(), 0);
}

TEST_F(EngineObject, asksItsMonitorForTheRectangleOnce) {
    const CMonitor monitor(kMain, 0);
    forgetEverything();
    makeInUsedMemory(monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information(" CMonitor::GetMonitorRect rect.left = -161, rect.top = "
                                        "-45, rect.right = 0, rect.bottom = 46")));
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

// Where hosts compiled against the class find its fields.
TEST_F(EngineObject, hasItsFieldsInTheirOrder) {
    const ScriptedCapture c;
    // clang-format off
    const std::vector<const void*> fields = {
        &c.m_nSkipCaptureFrame, &c.m_dwSkipFrameTick, &c.m_vecExcludeWnd, &c.m_nWndCaptureID,
        &c.m_hCaptureThread, &c.m_eCapMethod, &c.m_eCapType, &c.m_lpBuffer, &c.m_lpAppBuffer,
        &c.m_bFlag0, &c.m_bFlag1, &c.m_bReserved0, &c.m_nPacingMode, &c.m_nbufSize,
        &c.m_strMonitorName, &c.m_rcCapture, &c.m_dwMonitorID, &c.m_bPrimary, &c.m_nCustomVersion,
        &c.m_eCaptureMode, &c.m_nMaxFrameRate, &c.m_nCurFrameRate, &c.m_bCaptureFailed,
        &c.m_bStop, &c.m_bPause, &c.m_bCaptureThreadRunning, &c.m_bReserved1, &c.m_oScaling,
        &c.m_bReserved2, &c.m_dwFrameID, &c.m_dwUpdateCount, &c.m_iCapFailResult, &c.m_csBuffer,
        &c.m_csAppBuffer, &c.m_csExcludeWnd, &c.m_csReserved, &c.m_csSpare, &c.m_stBackColor,
        &c.m_nLastErrorCode, &c.m_nErrorCount, &c.m_eventCaptureExit, &c.m_nReserved};
    // clang-format on
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

// The binary interface of the virtual operations.

constexpr const char* kPure = "a pure virtual one";
// The compiler's choice: an abstract class has no object of its own to destroy.
constexpr const char* kAny = nullptr;

struct VirtualTable {
    const char* symbol;
    std::vector<const char*> slots;
};

class VirtualSlots : public testing::TestWithParam<VirtualTable> {
  protected:
    // The C++ library's function for what is pure. Where each image has a C++ library inside, its
    // own is known to none but the image, and is what the last slot of the abstract class holds.
    static const void* pureFunction() {
        const void* const known = dlsym(RTLD_DEFAULT, "__cxa_pure_virtual");
        constexpr size_t kLast = kHeaderWords + 10;
        return known != nullptr ? known : wordsOf("_ZTV12CCaptureBase")[kLast];
    }

    static void* const* wordsOf(const char* symbol) {
        return static_cast<void* const*>(dlsym(RTLD_DEFAULT, symbol));
    }

    static constexpr size_t kHeaderWords = 2;  // offset to the top, type information
};

TEST_P(VirtualSlots, areInTheirOrder) {
    const auto* const words = wordsOf(GetParam().symbol);
    ASSERT_NE(words, nullptr);
    const auto* const table = words + kHeaderWords;
    for (size_t i = 0; i < GetParam().slots.size(); ++i) {
        if (GetParam().slots[i] == kAny) {
            continue;
        }
        const void* const function = GetParam().slots[i] == kPure
                                         ? pureFunction()
                                         : dlsym(RTLD_DEFAULT, GetParam().slots[i]);
        ASSERT_NE(function, nullptr) << GetParam().slots[i];
        EXPECT_EQ(table[i], function) << "slot " << i + 1 << ", " << GetParam().slots[i];
    }
}

INSTANTIATE_TEST_SUITE_P(
    Classes, VirtualSlots,
    testing::Values(
        VirtualTable{
            "_ZTV12CCaptureBase",
            {kAny, kAny, "_ZN12CCaptureBase12StartCaptureEv",
             "_ZN12CCaptureBase15UpdateFrameRateEj", "_ZN12CCaptureBase17SerialModeEnabledEv",
             "_ZN12CCaptureBase13CaptureScreenEv",
             "_ZN12CCaptureBase12SetFrameSizeE16tag_Capture_SIZE",
             "_ZN12CCaptureBase20CaptureThreadMsgProcEv", "_ZN12CCaptureBase9DoCaptureEv", kPure,
             kPure}},
        VirtualTable{
            "_ZTV11CCaptureMac",
            {"_ZN11CCaptureMacD1Ev", "_ZN11CCaptureMacD0Ev", "_ZN12CCaptureBase12StartCaptureEv",
             "_ZN12CCaptureBase15UpdateFrameRateEj", "_ZN12CCaptureBase17SerialModeEnabledEv",
             "_ZN12CCaptureBase13CaptureScreenEv",
             "_ZN12CCaptureBase12SetFrameSizeE16tag_Capture_SIZE",
             "_ZN12CCaptureBase20CaptureThreadMsgProcEv", "_ZN11CCaptureMac9DoCaptureEv",
             "_ZN11CCaptureMac4InitEv", "_ZN11CCaptureMac6UnInitEv",
             "_ZN11CCaptureMac14GetCaptureTypeEv"}}),
    [](const auto& instance) { return std::string(instance.param.symbol + 1); });

// What the base itself does where a backend has nothing of its own.

class PlainCapture : public CCaptureBase {
  public:
    explicit PlainCapture(const CMonitor& monitor)
        : CCaptureBase(&monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP) {}
    bool Init() override { return true; }
    void UnInit() override {}
};

TEST_F(EngineObject, byItselfCapturesWithoutEffectAndNothingOnTheHostsThread) {
    PlainCapture capture(CMonitor(0, 8, 6, 32));
    forgetEverything();
    EXPECT_TRUE(capture.DoCapture());
    capture.CaptureThreadMsgProc();
    EXPECT_FALSE(capture.SerialModeEnabled());
    CAP_DESKTOP_DATA expected;
    std::memset(&expected, 0, sizeof expected);
    const CAP_DESKTOP_DATA data = capture.CaptureScreen();
    EXPECT_EQ(std::memcmp(&data, &expected, sizeof data), 0);
    EXPECT_EQ(capture.GetLastErrorCode(), 0U);
    EXPECT_EQ(capture.GetErrorCount(), 0U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(EngineObject, reportsTheErrorFields) {
    ScriptedCapture capture;
    capture.m_nLastErrorCode = 71;
    capture.m_nErrorCount = 5;
    EXPECT_EQ(capture.GetLastErrorCode(), 71U);
    EXPECT_EQ(capture.GetErrorCount(), 5U);
}

TEST_F(EngineObject, setsAndResetsItsExitEvent) {
    ScriptedCapture capture;
    EXPECT_FALSE(capture.m_eventCaptureExit.wait(0));
    capture.SetStopEvent();
    EXPECT_TRUE(capture.m_eventCaptureExit.wait(0));
    EXPECT_TRUE(capture.m_eventCaptureExit.wait(0)) << "it stays set";
    capture.ResetStopEvent();
    EXPECT_FALSE(capture.m_eventCaptureExit.wait(0));
}

// Locks of an object's life: the spare one has none.

TEST_F(EngineObject, initialisesItsLocksInOrderAndCleansThemUpInOrder) {
    std::vector<LockUse> expected;
    lock_recorder::forget();
    {
        const ScriptedCapture capture;
        const VQ_Critical_Section* const sections[] = {&capture.m_csBuffer, &capture.m_csAppBuffer,
                                                       &capture.m_csExcludeWnd,
                                                       &capture.m_csReserved};
        for (const char* operation : {"init", "cleanup"}) {
            for (const VQ_Critical_Section* section : sections) {
                expected.push_back({section, operation});
            }
        }
    }
    EXPECT_EQ(lock_recorder::ofThisThread(), expected);
}

TEST_F(EngineObject, freesItsBuffersBeforeItCleansItsLocksUp) {
    auto capture = std::make_unique<ScriptedCapture>(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    capture->AllocBuffer(700);
    const VQ_Critical_Section* const buffer = &capture->m_csBuffer;
    const VQ_Critical_Section* const appBuffer = &capture->m_csAppBuffer;
    const VQ_Critical_Section* const excludeWnd = &capture->m_csExcludeWnd;
    const VQ_Critical_Section* const reserved = &capture->m_csReserved;
    forgetEverything();
    capture.reset();
    EXPECT_THAT(lock_recorder::ofThisThread(),
                ElementsAreArray({LockUse{buffer, "lock"}, LockUse{buffer, "unlock"},
                                  LockUse{appBuffer, "lock"}, LockUse{appBuffer, "unlock"},
                                  LockUse{buffer, "cleanup"}, LockUse{appBuffer, "cleanup"},
                                  LockUse{excludeWnd, "cleanup"}, LockUse{reserved, "cleanup"}}));
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: <pointer>")));
}

TEST_F(EngineObject, swallowsAnExceptionAtItsEnd) {
    auto capture = std::make_unique<ScriptedCapture>();
    lock_recorder::throwAtNextCleanup();
    lock_recorder::forget();
    EXPECT_NO_THROW(capture.reset());
    EXPECT_EQ(lock_recorder::ofThisThread().size(), 1U) << "the first cleanup failed";
}

TEST_F(EngineObject, doesNotStopItsThreadNorUninitialiseAtItsEnd) {
    auto capture = std::make_unique<ScriptedCapture>();
    forgetEverything();
    capture.reset();
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(driven_time::eventWaits(), IsEmpty());
}

}  // namespace
