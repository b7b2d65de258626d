// What the exported functions ask of a capture object, and pass on of its answers.
#include "hosts_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "MonitorManager.h"
#include "contract_test.h"
#include "thread_watch.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// With a capture of the host's own under index 0, of monitor 0, method 4, share type 0, version 0:
// a start of that kind keeps it.
class HostsCaptures : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        CapMgr_GenerateCaptureIndex();
        capture_ = new HostsCapture("it");
        record().pCapture = capture_;
        forgetEverything();
    }

    static StructCaptureMgr& record() { return *CMonitorManager::GetInstance()->GetCaptureMgr(0); }

    static uint32_t start() {
        return CapMgr_StartCapture(0, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                   PARALLEL_CAPTURE_MODE);
    }

    // The locks are the capture's own business.
    static std::vector<std::string> withoutLocks(const Journal& journal) {
        std::vector<std::string> entries = journal.entries();
        std::erase_if(entries, [](const std::string& entry) {
            return entry.find("other lock") != std::string::npos;
        });
        return entries;
    }

    // What the journal holds from the addition's end on.
    static std::vector<std::string> afterAddition(const Journal& journal) {
        const std::vector<std::string> entries = withoutLocks(journal);
        const auto addition = std::find(
            entries.begin(), entries.end(),
            "[KXSC] CMonitorManager::AddCaptureInstance()... Capture is already existed!");
        return {addition == entries.end() ? addition : addition + 1, entries.end()};
    }

    HostsCapture* capture_ = nullptr;  // the registry's
};

TEST_F(HostsCaptures, areStartedAfterRateSizeAndWindowsInTheirOrder) {
    record() = {capture_, 2, {window(8), window(3)}, {9, 5}};
    const Journal journal;
    EXPECT_EQ(start(), 0U);
    EXPECT_THAT(
        afterAddition(journal),
        ElementsAre("[KXSC] CCaptureBase::SetMaxFrameRate... Begin!",
                    "[KXSC] CCaptureBase::SetMaxFrameRate...End! FrameRate: 2", "size 9 x 5",
                    "[KXSC] CCaptureBase::SetExcludeWnd... Begin!",
                    "[KXSC] CCaptureBase::SetExcludeWnd... End!",
                    "[KXSC] CCaptureBase::SetExcludeWnd... Begin!",
                    "[KXSC] CCaptureBase::SetExcludeWnd... End!", "start",
                    "[KXSC][CPST][STEP][start capture end][Ret:0, CapType:4, FrameRate:2]"));
    EXPECT_THAT(capture_->m_vecExcludeWnd, ElementsAre(window(8), window(3)));
}

// Settings stay stored: each start hands them over again.
TEST_F(HostsCaptures, areStartedWithTheStoredSettingsEachTime) {
    record() = {capture_, 2, {}, {9, 5}};
    start();
    const Journal journal;
    start();
    EXPECT_THAT(afterAddition(journal), Contains("size 9 x 5"));
    EXPECT_EQ(record().stFrameSize.dwWidth, 9U);
    EXPECT_EQ(record().dwMaxFrameRate, 2U);
}

class UnsetSize : public HostsCaptures, public testing::WithParamInterface<CAP_SIZE> {};

TEST_P(UnsetSize, isNotHandedOverByAStartAndNeitherIsARateOfZero) {
    record() = {capture_, 0, {}, GetParam()};
    const Journal journal;
    start();
    EXPECT_THAT(afterAddition(journal),
                ElementsAre("start",
                            "[KXSC][CPST][STEP][start capture end][Ret:0, CapType:4, "
                            "FrameRate:0]"));
}

INSTANTIATE_TEST_SUITE_P(Sizes, UnsetSize,
                         testing::Values(CAP_SIZE{0, 0}, CAP_SIZE{9, 0}, CAP_SIZE{0, 5}));

TEST_F(HostsCaptures, decideTheResultOfAStart) {
    capture_->startResult = 7;
    EXPECT_EQ(start(), 7U);
    EXPECT_EQ(trace_recorder::messages().back(),
              step("CPST", "start capture end", "[Ret:7, CapType:4, FrameRate:0]"));
}

TEST_F(HostsCaptures, haveTheirResultTracedAsSigned) {
    capture_->startResult = 4294967295U;
    EXPECT_EQ(start(), 4294967295U);
    EXPECT_EQ(trace_recorder::messages().back(),
              step("CPST", "start capture end", "[Ret:-1, CapType:4, FrameRate:0]"));
}

TEST_F(HostsCaptures, areStartedAlthoughTheyRefuseTheSize) {
    record().stFrameSize = {9, 5};
    capture_->settingResult = false;
    const Journal journal;
    EXPECT_EQ(start(), 0U);
    EXPECT_THAT(journal.entries(), testing::IsSupersetOf({"size 9 x 5", "start"}));
}

TEST_F(HostsCaptures, areStoppedThenDeletedThenTheirWindowsForgotten) {
    record().vecPresetExcludeWnd = {window(3)};
    const Journal journal;
    EXPECT_TRUE(CapMgr_StopCapture(0, 1));
    EXPECT_THAT(withoutLocks(journal),
                ElementsAre("[KXSC] CAPTURE_MANAGER_API StopCapture...  capture index: 0",
                            "[KXSC][CPSP][STEP][begin to stop capture][CapIndex:0, FlushWnd:1, "
                            "pCapture:<pointer>]",
                            "[KXSC] CCaptureBase::StopCapture... Begin!",
                            "[KXSC] CCaptureBase::StopCapture... End!!", "delete it",
                            "[KXSC][CPSP][STEP][stop capture end][Ret:true]"));
    EXPECT_EQ(record().pCapture, nullptr);
    EXPECT_THAT(record().vecPresetExcludeWnd, IsEmpty());
}

TEST_F(HostsCaptures, areDeletedBeforeTheirWindowsAreForgotten) {
    class LastLook : public ScriptedCapture {
      public:
        ~LastLook() override {
            Journal::note(std::to_string(record().vecPresetExcludeWnd.size()) + " windows");
        }
    };
    delete std::exchange(record().pCapture, new LastLook);
    record().vecPresetExcludeWnd = {window(3)};
    const Journal journal;
    EXPECT_TRUE(CapMgr_StopCapture(0, 1));
    EXPECT_THAT(journal.entries(), Contains("1 windows"));
}

TEST_F(HostsCaptures, areDeletedWithoutAStop) {
    const Journal journal;
    CMonitorManager::GetInstance()->DeleteCaptureInstance(0);
    EXPECT_THAT(journal.entries(), Contains("delete it"));
    EXPECT_THAT(journal.entries(), Not(Contains(HasSubstr("StopCapture"))));
    EXPECT_EQ(record().pCapture, nullptr);
}

TEST_F(HostsCaptures, areDeletedWithTheManagerInTheOrderOfTheIndexesWithoutAStop) {
    CapMgr_GenerateCaptureIndex();
    CapMgr_GenerateCaptureIndex();
    CMonitorManager::GetInstance()->GetCaptureMgr(2)->pCapture = new HostsCapture("the last");
    const Journal journal;
    CMonitorManager::DeleteInstance();
    std::vector<std::string> deletions = journal.entries();
    std::erase_if(deletions, [](const std::string& e) { return e.rfind("delete ", 0) != 0; });
    EXPECT_THAT(deletions, ElementsAre("delete it", "delete the last"));
    EXPECT_THAT(journal.entries(), Not(Contains(HasSubstr("StopCapture"))));
}

// A capture that looks back while it is deleted finds the list of monitors empty already.
TEST_F(HostsCaptures, areDeletedWithTheManagerAfterTheMonitors) {
    class LastLook : public ScriptedCapture {
      public:
        ~LastLook() override {
            Journal::note(std::to_string(CMonitorManager::GetInstance()->GetCount()) + " monitors");
        }
    };
    delete std::exchange(record().pCapture, new LastLook);
    const Journal journal;
    CMonitorManager::DeleteInstance();
    EXPECT_THAT(journal.entries(), Contains("0 monitors"));
}

TEST_F(HostsCaptures, areSerialWhenTheirModeIsZero) {
    capture_->serial = true;
    capture_->SetCaptureMode(SERIAL_CAPTURE_MODE);
    trace_recorder::forget();
    EXPECT_TRUE(CapMgr_IsSerialCapMode(0));
    capture_->SetCaptureMode(static_cast<CAP_MODE>(2));
    EXPECT_FALSE(CapMgr_IsSerialCapMode(0));
}

TEST_F(HostsCaptures, getASizeAndDecideItsResult) {
    const Journal journal;
    EXPECT_TRUE(CapMgr_SetCaptureFrameSize(0, {4000, 3000}));
    capture_->settingResult = false;
    EXPECT_FALSE(CapMgr_SetCaptureFrameSize(0, {1, 2}));
    EXPECT_THAT(journal.entries(), testing::IsSupersetOf({"size 4000 x 3000", "size 1 x 2"}));
    EXPECT_EQ(record().stFrameSize.dwHeight, 2U);
}

TEST_F(HostsCaptures, getARateUnclampedAndDecideItsResult) {
    const Journal journal;
    EXPECT_TRUE(CapMgr_UpdateFrameRate(0, 4294967295U));
    capture_->settingResult = false;
    EXPECT_FALSE(CapMgr_UpdateFrameRate(0, 1));
    EXPECT_THAT(journal.entries(), testing::IsSupersetOf({"rate 4294967295", "rate 1"}));
    EXPECT_EQ(record().dwMaxFrameRate, 0U);
}

TEST_F(HostsCaptures, areNotAskedForARateOfZero) {
    const Journal journal;
    EXPECT_FALSE(CapMgr_UpdateFrameRate(0, 0));
    EXPECT_THAT(journal.entries(), Not(Contains("rate 0")));
}

TEST_F(HostsCaptures, decideWhatACaptureOnTheHostsThreadReturns) {
    unsigned char pixels[8] = {};
    capture_->captured.pData = pixels;
    capture_->captured.dwWidth = 2;
    capture_->captured.dwHeight = 1;
    capture_->captured.dwDataLen = 8;
    const CAP_DESKTOP_DATA data = CapMgr_CaptureScreenBuffer(0);
    EXPECT_EQ(data.pData, pixels);
    EXPECT_EQ(data.dwWidth, 2U);
    EXPECT_EQ(data.dwHeight, 1U);
    EXPECT_EQ(data.dwDataLen, 8U);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
}

TEST_F(HostsCaptures, areLockedAndUnlockedAsTheyStop) {
    capture_->AllocBuffer(ScriptedCapture::kBytes);
    capture_->OnCaptureSuccess();
    capture_->m_bStop = true;
    trace_recorder::forget();
    EXPECT_EQ(CapMgr_LockScreenBuffer(0).pData, nullptr);
    EXPECT_EQ(CapMgr_UnlockScreenBuffer(0), 0U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2, "CCaptureBase::LockBuffer m_bStop == true.")));
}

TEST_F(HostsCaptures, reportTheirFailureSigned) {
    capture_->failWith(-5);
    EXPECT_EQ(CapMgr_GetCapFailResult(0), -5);
    const std::string name = "CAPTURE_MANAGER_API CapMgr_GetCapFailResult... ";
    EXPECT_THAT(trace_recorder::messages(), ElementsAre(information(name + "capture index: 0"),
                                                        framePath(2, " iCapFailResult: -5"),
                                                        information(name + "iCapFailResult: -5")));
}

TEST_F(HostsCaptures, getEachEditOfTheirExcludedWindows) {
    for (const uintptr_t number : {3U, 8U, 5U}) {
        CapMgr_SetExcludeWnd(0, window(number), CAP_EXC_WND_ADD);
    }
    CapMgr_SetExcludeWnd(0, window(8), CAP_EXC_WND_DELETE);
    EXPECT_THAT(capture_->m_vecExcludeWnd, ElementsAre(window(3), window(5)));
    CapMgr_SetExcludeWnd(0, nullptr, CAP_EXC_WND_CLEAR);
    EXPECT_THAT(capture_->m_vecExcludeWnd, IsEmpty());
    EXPECT_THAT(record().vecPresetExcludeWnd, IsEmpty());
}

TEST_F(HostsCaptures, getTheSharedWindow) {
    CapMgr_SetSharedAppWnd(0, 52, CAP_APP_WND_SET);
    EXPECT_EQ(capture_->m_nWndCaptureID, 52U);
    CapMgr_SetSharedAppWnd(0, 53, static_cast<tagCapAppActType>(2));
    EXPECT_EQ(capture_->m_nWndCaptureID, 0U);
}

TEST_F(HostsCaptures, getTheBackgroundColour) {
    CapMgr_SetAppShareBgColor(0, 1, 2, 4294967295U);
    EXPECT_EQ(capture_->m_stBackColor[1].nRgnType, 1U);
    EXPECT_EQ(capture_->m_stBackColor[1].nBrushType, 2U);
    EXPECT_EQ(capture_->m_stBackColor[1].nColor, 4294967295U);
}

}  // namespace
