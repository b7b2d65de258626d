// Large frames are allocated another way than small ones, so that they can be in large pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "bounded_memory_faults.h"
#include "frame_buffer.h"

namespace {

class LargeFrame : public FrameBuffer {};

constexpr unsigned int kLargePage = 2U << 20;

TEST_F(LargeFrame, beginsAtALargePageFromTheSizeOfOneOn) {
    for (const unsigned int size : {kLargePage, 1920U * 1080U * 4U}) {
        capture_.AllocBuffer(size);
        ASSERT_NE(capture_.m_lpBuffer, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(capture_.m_lpBuffer) % kLargePage, 0U) << size;
        EXPECT_EQ(capture_.m_nbufSize, size);
        std::fill_n(capture_.m_lpBuffer, size, static_cast<unsigned char>(0xA5));
    }
}

TEST_F(LargeFrame, isNoneAndNotFreedWhenMemoryIsShortForASecondOne) {
    memory_faults::failAllocation(2 * kLargePage, 1);
    windowCapture_.AllocBuffer(kLargePage + 1);
    EXPECT_TRUE(memory_faults::allocationFailed());
    EXPECT_EQ(windowCapture_.m_lpBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_lpAppBuffer, nullptr);
    EXPECT_EQ(windowCapture_.m_nbufSize, 0U);
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 0U);
}

TEST_F(LargeFrame, isFreedWithTheSecondOne) {
    memory_faults::failAllocation(2 * kLargePage, 3);
    windowCapture_.AllocBuffer(kLargePage + 1);
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 0U);
    windowCapture_.DeallocBuffer();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 2U);
}

TEST_F(LargeFrame, isClearedBeforeItIsFreed) {
    memory_faults::failAllocation(2 * kLargePage, 1);
    capture_.AllocBuffer(2 * kLargePage);
    std::fill_n(capture_.m_lpBuffer, 2 * kLargePage, static_cast<unsigned char>(0xA5));
    capture_.DeallocBuffer();
    EXPECT_EQ(memory_faults::skippedOnesFreed(), 1U);
    EXPECT_EQ(memory_faults::skippedOnesCleared(), 1U);
}

}  // namespace
