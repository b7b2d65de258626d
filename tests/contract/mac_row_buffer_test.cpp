// CCaptureMac: its fields, and the row buffer with what becomes of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>

#include "bounded_memory_faults.h"
#include "journal.h"
#include "mac_capture.h"
#include "scaler_recorder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MacRowBuffer : public MacCapture {
  protected:
    static void padRowsBy(size_t padding) {
        scripted::change(kMain,
                         [padding](scripted::Display& display) { display.rowPadding = padding; });
    }

    // With a row buffer in which each row holds its number, and each padding byte 0xEE.
    VisibleCapture& numbered() {
        VisibleCapture& capture = initialised();
        for (size_t y = 0; y < kMainHeight; ++y) {
            unsigned char* const row = capture.m_pRowBuffer + y * capture.m_nBytesPerRow;
            std::fill_n(row, kRow, static_cast<unsigned char>(y));
            std::fill_n(row + kRow, capture.m_nBytesPerRow - kRow,
                        static_cast<unsigned char>(0xEE));
        }
        return capture;
    }

    static std::vector<unsigned char> numberedRows() {
        std::vector<unsigned char> rows;
        for (size_t y = 0; y < kMainHeight; ++y) {
            rows.insert(rows.end(), kRow, static_cast<unsigned char>(y));
        }
        return rows;
    }

    static constexpr size_t kRow = kMainWidth * 4;
};

// Fields.

struct Destroy {
    void operator()(VisibleCapture* capture) const { capture->~VisibleCapture(); }
};

// Made where every byte was 0xA5, so that what the constructor does not set shows.
TEST_F(MacRowBuffer, isNotThereToBeginWith) {
    alignas(VisibleCapture) unsigned char memory[sizeof(VisibleCapture)];
    std::memset(memory, 0xA5, sizeof memory);
    const CMonitor monitor(kMain, 0);
    const std::unique_ptr<VisibleCapture, Destroy> capture(new (memory) VisibleCapture(
        &monitor, static_cast<CAP_METHOD>(7), static_cast<CAP_TYPE>(9)));
    EXPECT_EQ(capture->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture->m_nBytesPerRow, 0U);
    EXPECT_FALSE(capture->m_bRowsAligned);
    EXPECT_EQ(capture->m_dwDisplayID, kMain);
    EXPECT_EQ(capture->m_nCaptureWidth, kMainWidth);
    EXPECT_EQ(capture->m_nCaptureHeight, kMainHeight);
    EXPECT_EQ(static_cast<int>(capture->m_eCapMethod), 7);
    EXPECT_EQ(static_cast<int>(capture->m_eCapType), 9);
}

TEST_F(MacRowBuffer, isOneOfTheFieldsInTheirOrder) {
    const VisibleCapture& c = make();
    const std::vector<const void*> fields = {&c.m_dwDisplayID,   &c.m_pRowBuffer,
                                             &c.m_nBytesPerRow,  &c.m_bRowsAligned,
                                             &c.m_nCaptureWidth, &c.m_nCaptureHeight};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
    EXPECT_GT(fields.front(), static_cast<const void*>(&c.m_csExcludeWnd)) << "after the base's";
}

TEST_F(MacCapture, hasTheSizeOfADisplayWithoutAModeAsZero) {
    scripted::change(kMain, [](scripted::Display& display) { display.mode.reset(); });
    make();
    EXPECT_EQ(capture_->m_nCaptureWidth, 0U);
    EXPECT_EQ(capture_->m_nCaptureHeight, 0U);
}

// Init and UnInit.

TEST_F(MacRowBuffer, isMadeForPaddedRows) {
    padRowsBy(64);
    make().Init();
    EXPECT_NE(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_nBytesPerRow, kRow + 64);
    EXPECT_FALSE(capture_->m_bRowsAligned);
}

TEST_F(MacRowBuffer, isAsLargeAsTheImage) {
    padRowsBy(64);
    make();
    memory_faults::failAllocation((kRow + 64) * kMainHeight);
    EXPECT_TRUE(capture_->Init()) << "a missing row buffer is not told";
    EXPECT_TRUE(memory_faults::allocationFailed());
    EXPECT_EQ(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_nbufSize, kRow * kMainHeight);
    EXPECT_THAT(trace_recorder::messagesOfLevel(0), IsEmpty());
}

TEST_F(MacRowBuffer, isNotMadeForPackedRows) {
    padRowsBy(0);
    make().Init();
    EXPECT_EQ(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_nBytesPerRow, kRow);
    EXPECT_TRUE(capture_->m_bRowsAligned);
}

TEST_F(MacRowBuffer, isNeverMadeOnceRowsWerePacked) {
    padRowsBy(0);
    make().Init();
    capture_->UnInit();
    padRowsBy(64);
    EXPECT_TRUE(capture_->Init());
    EXPECT_EQ(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_nBytesPerRow, kRow + 64);
    EXPECT_TRUE(capture_->m_bRowsAligned) << "never cleared";
}

TEST_F(MacRowBuffer, isKeptByASecondInit) {
    make().Init();
    const unsigned char* const rows = capture_->m_pRowBuffer;
    EXPECT_TRUE(capture_->Init());
    EXPECT_EQ(capture_->m_pRowBuffer, rows);
}

TEST_F(MacRowBuffer, isReleasedByUnInitAndMadeAgainByInit) {
    make().Init();
    capture_->UnInit();
    EXPECT_EQ(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_lpBuffer, nullptr);
    EXPECT_EQ(capture_->m_nbufSize, 0U);
    EXPECT_TRUE(capture_->Init());
    EXPECT_NE(capture_->m_pRowBuffer, nullptr);
    EXPECT_EQ(capture_->m_nbufSize, kRow * kMainHeight);
}

TEST_F(MacRowBuffer, isFreedInUnInit) {
    make();
    memory_faults::failAllocation((kRow + 12) * kMainHeight, 5);
    capture_->Init();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 0U);
    capture_->UnInit();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 1U);
}

TEST_F(MacRowBuffer, isClearedBeforeItIsFreed) {
    make();
    memory_faults::failAllocation((kRow + 12) * kMainHeight, 5);
    capture_->Init();
    std::fill_n(capture_->m_pRowBuffer, (kRow + 12) * kMainHeight,
                static_cast<unsigned char>(0xA5));
    capture_->UnInit();
    EXPECT_EQ(memory_faults::skippedOnesCleared(), 1U);
}

TEST_F(MacCapture, measuresANewResolutionInInit) {
    initialised();
    capture_->UnInit();
    scripted::resize(kMain, 40, 30);
    EXPECT_TRUE(capture_->Init());
    EXPECT_EQ(capture_->m_nbufSize, 40U * 30 * 4);
    EXPECT_EQ(capture_->m_nBytesPerRow, 172U);
    EXPECT_EQ(capture_->m_nCaptureWidth, kMainWidth) << "as it was made";
}

// The pitch that Init measured counts, whatever the image's own.
TEST_F(MacCapture, copiesRowsAtThePitchThatInitMeasured) {
    scripted::change(kMain, [](scripted::Display& display) { display.rowPadding = 0; });
    initialised();
    scripted::change(kMain, [](scripted::Display& display) { display.rowPadding = 12; });
    scaler_recorder::forget();
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(scaler_recorder::calls(), ElementsAre("MacroMemcpy(58604, 58604)"));
}

TEST_F(MacCapture, copiesTheRowsOneByOneOutOfThePaddedImage) {
    initialised();
    scaler_recorder::forget();
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_EQ(scaler_recorder::calls(),
              std::vector<std::string>(kMainHeight, "MacroMemcpy(644, 644)"));
}

// The locks of a frame: the list of windows is copied, then nothing is held while the platform
// works; the frame is written under the buffer's lock.
TEST_F(MacCapture, takesOneLockForTheWindowsAndOneForTheFrame) {
    scripted::change(kMain, [](scripted::Display& display) { display.rowPadding = 0; });
    initialised();
    const Journal journal(
        {{&capture_->m_csBuffer, "buffer"}, {&capture_->m_csExcludeWnd, "windows"}});
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(
        journal.entries(),
        ElementsAre("[KXSC] CCaptureMac::DoCapture()... Begin!", "lock windows", "unlock windows",
                    "[KXSS]CCaptureMac::DoCapture DisplayID: 722 excludeWndEmpty: true",
                    "[KXSS]CCaptureMac::DoCapture imageRef: <pointer>",
                    "[KXSS]CCaptureMac::DoCapture ready to lock.", "lock buffer", "memcpy_s(8, 8)",
                    "MacroMemcpy(58604, 58604)", "unlock buffer",
                    "[KXSS]CCaptureMac::DoCapture()... End!"));
}

TEST_F(MacCapture, clearsABlackFrameUnderItsLock) {
    initialised();
    scripted::fail("CGWindowListCreateImage");
    const Journal journal({{&capture_->m_csBuffer, "buffer"}});
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(journal.entries(),
                testing::IsSupersetOf({"lock buffer", "memset_s(58604, 58604)", "unlock buffer"}));
}

TEST_F(MacCapture, doesNotClearAFrameThatItHasNoBufferFor) {
    initialised();
    capture_->UnInit();
    scripted::fail("CGWindowListCreateImage");
    const Journal journal;
    EXPECT_TRUE(capture_->DoCapture());
    EXPECT_THAT(journal.entries(),
                testing::Not(testing::Contains(testing::StartsWith("memset_s"))));
}

// Repacking.

TEST_F(MacRowBuffer, isRepackedWithoutItsPadding) {
    numbered();
    scripted::forgetCalls();
    trace_recorder::forget();
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_EQ(buffer(), numberedRows());
    EXPECT_THAT(trace_recorder::messages(), IsEmpty());
    EXPECT_THAT(scripted::calls(), IsEmpty());
}

TEST_F(MacRowBuffer, isRepackedWithABoundedCopyForEachRow) {
    numbered();
    const Journal journal({{&capture_->m_csBuffer, "buffer"}});
    capture_->ChangeBmpDataTo4BytesAligned();
    std::vector<std::string> expected(kMainHeight, "memcpy_s(644, 644)");
    expected.insert(expected.begin(), "lock buffer");
    expected.emplace_back("unlock buffer");
    EXPECT_EQ(journal.entries(), expected);
}

TEST_F(MacRowBuffer, isRepackedFurtherWhenARowFails) {
    numbered();
    trace_recorder::forget();
    memory_faults::failBoundedCalls(34, 2, 1);
    capture_->ChangeBmpDataTo4BytesAligned();
    std::vector<unsigned char> expected = numberedRows();
    std::fill_n(expected.begin() + 2 * kRow, kRow, kOldByte);
    EXPECT_EQ(buffer(), expected);
    ASSERT_EQ(trace_recorder::messages().size(), 1U);
    EXPECT_EQ(withoutPosition(trace_recorder::messages().front()),
              failedCall("memcpy_s(pRowData, nWidth * 4, pRowOrginData, nWidth * 4)", 34));
}

struct Edges {
    int top;
    int bottom;
    size_t rows;
};

class RepackedRows : public MacRowBuffer, public testing::WithParamInterface<Edges> {};

TEST_P(RepackedRows, areThoseOfTheRectangle) {
    numbered();
    capture_->m_rcCapture.top = GetParam().top;
    capture_->m_rcCapture.bottom = GetParam().bottom;
    const Journal journal;
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_EQ(journal.entries().empty(), GetParam().rows == 0) << "not even a lock is taken";
    std::vector<unsigned char> expected = numberedRows();
    std::fill(expected.begin() + static_cast<long>(GetParam().rows * kRow), expected.end(),
              kOldByte);
    EXPECT_EQ(buffer(), expected);
}

INSTANTIATE_TEST_SUITE_P(Edges, RepackedRows,
                         testing::Values(Edges{5, 5, 0}, Edges{6, 5, 0}, Edges{0, -91, 0},
                                         Edges{5, 6, 1}, Edges{-3, 4, 7}));

TEST_F(MacRowBuffer, isRepackedInTheRectanglesWidth) {
    numbered();
    capture_->m_rcCapture.left = capture_->m_rcCapture.right - 2;
    capture_->ChangeBmpDataTo4BytesAligned();
    std::vector<unsigned char> expected(kRow * kMainHeight, kOldByte);
    for (size_t i = 0; i < kMainHeight * 8; ++i) {
        expected[i] = static_cast<unsigned char>(i / 8);
    }
    EXPECT_EQ(buffer(), expected);
}

TEST_F(MacRowBuffer, isNotRepackedWhenItIsNotThere) {
    padRowsBy(0);
    initialised();
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_TRUE(bufferIsAll(kOldByte));
}

TEST_F(MacRowBuffer, isNotRepackedWithoutAFrameBuffer) {
    numbered();
    capture_->DeallocBuffer();
    const Journal journal;
    capture_->ChangeBmpDataTo4BytesAligned();
    EXPECT_THAT(journal.entries(), testing::Not(testing::Contains("memcpy_s(644, 644)")));
}

}  // namespace
