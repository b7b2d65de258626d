// CCaptureBase: the frame buffers, and the frames that come in.
#include "frame_buffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "bounded_memory_faults.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Allocation.

TEST_F(FrameBuffer, isAllocated) {
    capture_.AllocBuffer(700);
    EXPECT_NE(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(capture_.m_nbufSize, 700U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2,
                                          "CCaptureBase::AllocBuffer..dwSize = 700, "
                                          "m_nbufSize = 0"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer "
                                        "dwSize = 700, m_lpBuffer =<pointer>")));
}

class WindowCaptureType : public FrameBuffer, public testing::WithParamInterface<int> {};

TEST_P(WindowCaptureType, hasASecondBuffer) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, static_cast<CAP_TYPE>(GetParam()));
    trace_recorder::forget();
    capture.AllocBuffer(700);
    EXPECT_NE(capture.m_lpAppBuffer, nullptr);
    EXPECT_NE(capture.m_lpAppBuffer, capture.m_lpBuffer);
    EXPECT_EQ(capture.m_nbufSize, 700U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2,
                                          "CCaptureBase::AllocBuffer..dwSize = 700, "
                                          "m_nbufSize = 0"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer "
                                        "dwSize = 700, m_lpBuffer =<pointer>"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpAppBuffer "
                                        "dwSize = 700, m_lpAppBuffer = <pointer>")));
}

INSTANTIATE_TEST_SUITE_P(Types, WindowCaptureType, testing::Values(1, 2));

class OtherCaptureType : public FrameBuffer, public testing::WithParamInterface<int> {};

TEST_P(OtherCaptureType, hasNoSecondBuffer) {
    ScriptedCapture capture(CAP_METHOD_COREGRAPHICS, static_cast<CAP_TYPE>(GetParam()));
    capture.AllocBuffer(700);
    EXPECT_NE(capture.m_lpBuffer, nullptr);
    EXPECT_EQ(capture.m_lpAppBuffer, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Types, OtherCaptureType, testing::Values(-1, 0, 3));

TEST_F(FrameBuffer, tracesWhereItsBuffersAre) {
    windowCapture_.AllocBuffer(700);
    const auto address = [](const void* pointer) {
        std::ostringstream text;
        text << pointer;
        return text.str();
    };
    const auto texts = trace_recorder::rawTexts();
    EXPECT_THAT(texts[texts.size() - 2],
                testing::EndsWith("m_lpBuffer =" + address(windowCapture_.m_lpBuffer)));
    EXPECT_THAT(texts.back(),
                testing::EndsWith("m_lpAppBuffer = " + address(windowCapture_.m_lpAppBuffer)));
}

// While a reader holds a frame, no other buffer takes its place.
TEST_F(FrameBuffer, isAllocatedUnderBothLocks) {
    const Journal journal(lockNames(capture_));
    capture_.AllocBuffer(700);
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXAS] CCaptureBase::AllocBuffer..dwSize = 700, m_nbufSize = 0",
                            "lock buffer", "lock app buffer",
                            "[KXSC] CCaptureBase::AllocBuffer [Mem] m_lpBuffer dwSize = 700, "
                            "m_lpBuffer =<pointer>",
                            "unlock app buffer", "unlock buffer"));
}

TEST_F(FrameBuffer, isKeptWithItsContentWhenTheSizeIsTheSame) {
    fill();
    const unsigned char* const before = capture_.m_lpBuffer;
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(capture_.m_lpBuffer, before);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_EQ(trace_recorder::messages().size(), 1U);
}

TEST_F(FrameBuffer, isReplacedWhenTheSizeChanges) {
    capture_.AllocBuffer(700);
    trace_recorder::forget();
    capture_.AllocBuffer(800);
    EXPECT_EQ(capture_.m_nbufSize, 800U);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(bufferMessage(2,
                                          "CCaptureBase::AllocBuffer..dwSize = 800, "
                                          "m_nbufSize = 700"),
                            information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                            information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer "
                                        "dwSize = 800, m_lpBuffer =<pointer>")));
}

TEST_F(FrameBuffer, isKeptWithTheSecondOneWhenTheSizeIsTheSame) {
    windowCapture_.AllocBuffer(700);
    const unsigned char* const buffer = windowCapture_.m_lpBuffer;
    const unsigned char* const appBuffer = windowCapture_.m_lpAppBuffer;
    std::fill_n(windowCapture_.m_lpAppBuffer, 700, static_cast<unsigned char>(0x3C));
    windowCapture_.AllocBuffer(700);
    EXPECT_EQ(windowCapture_.m_lpBuffer, buffer);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer, appBuffer);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer[699], 0x3C);
    EXPECT_EQ(windowCapture_.m_nbufSize, 700U);
}

TEST_F(FrameBuffer, ofSizeZeroIsNone) {
    windowCapture_.AllocBuffer(700);
    trace_recorder::forget();
    windowCapture_.AllocBuffer(0);
    EXPECT_EQ(windowCapture_.m_lpBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_nbufSize, 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 0, m_nbufSize = 700"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: <pointer>")));
}

TEST_F(FrameBuffer, ofSizeZeroNeedsNoneBefore) {
    capture_.AllocBuffer(0);
    EXPECT_EQ(capture_.m_lpBuffer, nullptr);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 0, m_nbufSize = 0")));
}

TEST_F(FrameBuffer, isNoneWhenMemoryIsShort) {
    capture_.AllocBuffer(700);
    forgetEverything();
    memory_faults::failAllocation(7001);
    capture_.AllocBuffer(7001);
    EXPECT_EQ(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.m_nbufSize, 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 7001, m_nbufSize = 700"),
                    information("CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
                    error("CCaptureBase::AllocBuffer ERROR")));
    EXPECT_TRUE(bufferIsFree());
}

// What was allocated stays so by rule.
TEST_F(FrameBuffer, isNoneAndNotFreedWhenMemoryIsShortForTheSecondOne) {
    trace_recorder::forget();
    memory_faults::failAllocation(7001, 1);
    windowCapture_.AllocBuffer(7001);
    EXPECT_EQ(windowCapture_.m_lpBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_nbufSize, 0U);
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 0U);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(2, "CCaptureBase::AllocBuffer..dwSize = 7001, m_nbufSize = 0"),
                    information("CCaptureBase::AllocBuffer [Mem] m_lpBuffer dwSize = 7001, "
                                "m_lpBuffer =<pointer>"),
                    error("CCaptureBase::AllocBuffer ERROR")));
}

TEST_F(FrameBuffer, isFreedWithTheSecondOne) {
    memory_faults::failAllocation(7001, 3);
    windowCapture_.AllocBuffer(7001);
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 0U);
    windowCapture_.DeallocBuffer();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 2U);
}

TEST_F(FrameBuffer, isAllocatedAfterMemoryWasShort) {
    memory_faults::failAllocation(7001);
    capture_.AllocBuffer(7001);
    capture_.AllocBuffer(7001);
    EXPECT_NE(capture_.m_lpBuffer, nullptr);
    EXPECT_EQ(capture_.m_nbufSize, 7001U);
}

TEST_F(FrameBuffer, isTracedThenFreedUnderItsLock) {
    windowCapture_.AllocBuffer(700);
    const Journal journal(lockNames(windowCapture_));
    windowCapture_.DeallocBuffer();
    EXPECT_EQ(windowCapture_.m_lpBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_nbufSize, 0U);
    EXPECT_THAT(journal.entries(),
                ElementsAre("[KXSC] CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>",
                            "lock buffer", "unlock buffer",
                            "[KXSC] CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: <pointer>",
                            "lock app buffer", "unlock app buffer"));
}

TEST_F(FrameBuffer, hasNoSizeOnceFreedAlsoWithoutABuffer) {
    capture_.m_nbufSize = 55;
    capture_.DeallocBuffer();
    EXPECT_EQ(capture_.m_nbufSize, 0U);
}

TEST_F(FrameBuffer, isFreedOnlyOnce) {
    capture_.DeallocBuffer();
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_EQ(capture_.m_nbufSize, 0U);
}

// Frames of the host's own.

TEST_F(FrameBuffer, takesAFrameOfItsOwnSize) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    forgetEverything();
    capture_.UpdateBuffer(picture_.data(), ScriptedCapture::kBytes);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(trace_recorder::messages(),
                ElementsAre(information("CCaptureBase::Capture... UpdateBuffer capture success  "
                                        "ID:0")));
    EXPECT_THAT(lock_recorder::ofThisThread(), ElementsAre(bufferUse("lock"), bufferUse("unlock")));
}

TEST_F(FrameBuffer, refusesAFrameOneByteTooLong) {
    fill();
    std::vector<unsigned char> longer(ScriptedCapture::kBytes + 1, 9);
    capture_.UpdateBuffer(longer.data(), ScriptedCapture::kBytes + 1);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")));
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, refusesAFrameWithoutABuffer) {
    const Journal journal(lockNames(capture_));
    capture_.UpdateBuffer(picture_.data(), 1);
    EXPECT_THAT(
        journal.entries(),
        ElementsAre("lock buffer",
                    "[KXSC] CCaptureBase::Capture... UpdateBuffer capture success  ID:0",
                    "[KXAS]  m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ", "unlock buffer"));
    EXPECT_EQ(trace_recorder::messages().back().level, 0);
}

TEST_F(FrameBuffer, takesAShorterFrameAndKeepsTheRest) {
    fill();
    const std::vector<unsigned char> shorter(100, 0x5E);
    const Journal journal(lockNames(capture_));
    capture_.UpdateBuffer(shorter.data(), 100);
    std::vector<unsigned char> expected = picture_;
    std::copy(shorter.begin(), shorter.end(), expected.begin());
    EXPECT_EQ(bufferContent(), expected);
    EXPECT_THAT(journal.entries(),
                ElementsAre("lock buffer", "memcpy_s(1092, 100)", "unlock buffer"));
}

TEST_F(FrameBuffer, countsRefusedFramesOfTheHostToo) {
    capture_.UpdateBuffer(picture_.data(), 1);
    EXPECT_EQ(capture_.m_dwUpdateCount, 1U);
    EXPECT_EQ(capture_.m_dwFrameID, 0U) << "frames of the backend alone";
}

TEST_F(FrameBuffer, ignoresAFrameWhilePaused) {
    fill();
    capture_.PauseCapture(true);
    forgetEverything();
    const unsigned char pixel[4] = {};
    capture_.UpdateBuffer(pixel, sizeof pixel);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(lock_recorder::ofThisThread(), IsEmpty());
    EXPECT_EQ(capture_.m_dwUpdateCount, 1U) << "that of the frame before the pause";
}

TEST_F(FrameBuffer, tracesEveryFiftiethFrameOfTheHost) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    trace_recorder::forget();
    for (int i = 0; i < 101; ++i) {
        capture_.UpdateBuffer(picture_.data(), 4);
    }
    const std::string text = "CCaptureBase::Capture... UpdateBuffer capture success  ID:";
    EXPECT_THAT(
        trace_recorder::messages(),
        ElementsAre(information(text + "0"), information(text + "50"), information(text + "100")));
}

// Frames of the backend.

TEST_F(FrameBuffer, takesABackendsFrameUnderItsLock) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    forgetEverything();
    const Journal journal(lockNames(capture_));
    EXPECT_EQ(capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4), 1U);
    EXPECT_EQ(bufferContent(), picture_);
    EXPECT_THAT(journal.entries(), ElementsAre("lock buffer", "memcpy_s(8, 8)",
                                               "MacroMemcpy(1092, 1092)", "unlock buffer"));
}

TEST_F(FrameBuffer, takesNoBackendsFrameWithoutABuffer) {
    EXPECT_EQ(capture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4), 0U);
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, takesNoBackendsFrameWithoutData) {
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(capture_.Resize(nullptr, ScriptedCapture::kWidth * 4), 0U);
    EXPECT_EQ(capture_.Resize(picture_.data(), 0), 0U) << "nor without a pitch";
    EXPECT_TRUE(bufferIsFree());
}

TEST_F(FrameBuffer, takesABackendsFrameInTheWindowBufferNever) {
    windowCapture_.AllocBuffer(ScriptedCapture::kBytes);
    std::fill_n(windowCapture_.m_lpAppBuffer, ScriptedCapture::kBytes,
                static_cast<unsigned char>(0x3C));
    windowCapture_.Resize(picture_.data(), ScriptedCapture::kWidth * 4);
    EXPECT_EQ(std::count(windowCapture_.m_lpAppBuffer,
                         windowCapture_.m_lpAppBuffer + ScriptedCapture::kBytes, 0x3C),
              ScriptedCapture::kBytes);
}
// Frees the buffers while another holds the lock, for as long as one can wait to see; then lets go.
// Returns how many were freed by then, and how many in the end.
std::pair<size_t, size_t> freedBeforeAndAfter(ScriptedCapture& capture, VQ_Critical_Section& lock,
                                              const std::string& begun) {
    lock.lock();
    auto freeing = std::async(std::launch::async, [&capture] { capture.DeallocBuffer(); });
    EXPECT_TRUE(trace_recorder::await(begun));
    freeing.wait_for(std::chrono::milliseconds(50));
    const size_t before = memory_faults::skippedOnesFreed();
    lock.unlock();
    freeing.get();
    return {before, memory_faults::skippedOnesFreed()};
}

TEST_F(FrameBuffer, isNotFreedWhileItIsLocked) {
    memory_faults::failAllocation(ScriptedCapture::kBytes, 1);
    capture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(freedBeforeAndAfter(capture_, capture_.m_csBuffer,
                                  "[KXSC] CCaptureBase::DeallocBuffer[Mem], m_lpBuffer: <pointer>"),
              std::pair(size_t{0}, size_t{1}));
}

TEST_F(FrameBuffer, ofAnApplicationIsNotFreedWhileItIsLocked) {
    memory_faults::failAllocation(ScriptedCapture::kBytes, 2);
    windowCapture_.AllocBuffer(ScriptedCapture::kBytes);
    EXPECT_EQ(
        freedBeforeAndAfter(windowCapture_, windowCapture_.m_csAppBuffer,
                            "[KXSC] CCaptureBase::DeallocBuffer[Mem], m_lpAppBuffer: <pointer>"),
        std::pair(size_t{1}, size_t{2}));
}

// Whoever gets the memory next is not to see what was on screen.
TEST_F(FrameBuffer, isClearedBeforeItIsFreed) {
    memory_faults::failAllocation(ScriptedCapture::kBytes, 2);
    windowCapture_.AllocBuffer(ScriptedCapture::kBytes);
    for (unsigned char* const buffer : {windowCapture_.m_lpBuffer, windowCapture_.m_lpAppBuffer}) {
        std::fill_n(buffer, ScriptedCapture::kBytes, static_cast<unsigned char>(0xA5));
    }
    windowCapture_.DeallocBuffer();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 2U);
    EXPECT_EQ(memory_faults::skippedOnesCleared(), 2U);
}

}  // namespace
