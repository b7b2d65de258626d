// CCaptureBase: what has been done already when a message is written, and what has not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "bounded_memory_faults.h"
#include "engine_loop.h"
#include "journal.h"

namespace {

using testing::ElementsAre;

class EngineOrder : public EngineLoop {
  protected:
    void watchFlags(Journal& journal) {
        journal.addToMessages([this] {
            return std::string(capture_.m_bPause ? "paused " : "") +
                   (capture_.m_bStop ? "stopping " : "") +
                   (capture_.m_bCaptureThreadRunning ? "running" : "idle");
        });
    }
};

TEST_F(EngineOrder, startsBetweenItsMessages) {
    capture_.m_bPause = true;
    capture_.m_bStop = true;
    Journal journal;
    watchFlags(journal);
    capture_.StartCapture();
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::StartCapture()... Begin! capType:4 | paused "
                            "stopping idle",
                            "[KXSC] CCaptureBase::StartCapture()... End! | running"));
}

TEST_F(EngineOrder, clearsPauseAndStopBeforeItFindsItselfRunning) {
    capture_.m_bPause = true;
    capture_.m_bStop = true;
    capture_.m_bCaptureThreadRunning = true;
    Journal journal;
    watchFlags(journal);
    capture_.StartCapture();
    EXPECT_EQ(journal.entries().back(),
              "[KXSC] CCaptureBase::StartCapture()... Capture thread is already running! | "
              "running");
}

TEST_F(EngineOrder, cancelsThenTellsThenWaitsForTheCancelledThread) {
    start();
    capture_.m_dwFrameID = 9;
    driven_time::timeOutNextEventWait();
    Journal journal;
    journal.addToMessages([this] {
        return std::string(capture_.m_bCaptureThreadRunning ? "running, " : "") +
               std::to_string(driven_time::eventWaits().size()) + " waits, " +
               std::to_string(thread_watch::cancelled()) + " cancelled, frame " +
               std::to_string(capture_.m_dwFrameID);
    });
    capture_.StopCapture();
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::StopCapture... Begin! | running, 0 waits, 0 "
                            "cancelled, frame 9",
                            "[KXSC] CCaptureBase::StopCature... Close capture thread timeout! | "
                            "1 waits, 1 cancelled, frame 9",
                            "[KXSC] CCaptureBase::StopCapture... End!! | 2 waits, 1 "
                            "cancelled, frame 0"));
}

TEST_F(EngineOrder, tellsOfAPauseThenPauses) {
    Journal journal;
    watchFlags(journal);
    capture_.PauseCapture(true);
    capture_.PauseCapture(false);
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::PauseCapture... Pause! | idle",
                            "[KXSC] CCaptureBase::PauseCapture... Resume! | paused idle"));
}

TEST_F(EngineOrder, tellsOfABackgroundColourThenStoresIt) {
    Journal journal;
    journal.addToMessages([this] { return std::to_string(capture_.m_stBackColor[1].nColor); });
    capture_.SetAppShareBackColor(1, 2, 3);
    EXPECT_THAT(journal.entries(), ElementsAre("[KXSC] CCaptureBase::SetAppShareBackColor..."
                                               "nRgnType = 1, nBrushType = 2 | 0"));
}

TEST_F(EngineOrder, tellsOfShortMemoryThenForgetsTheBuffers) {
    ScriptedCapture windowCapture(CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW);
    memory_faults::failAllocation(7001, 1);
    Journal journal;
    journal.addToMessages([&] { return std::to_string(windowCapture.m_nbufSize); });
    windowCapture.AllocBuffer(7001);
    EXPECT_THAT(journal.entries(),
                testing::Contains("[KXSC] CCaptureBase::AllocBuffer ERROR | 7001"));
    EXPECT_EQ(windowCapture.m_nbufSize, 0U);
}

}  // namespace
