#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "vqutilc.h"

namespace {

template <typename Piece>
std::string text(const Piece& piece) {
    VQ_Text_Stream stream(1024, 32);
    stream << piece;
    return stream.m_pText;
}

TEST(TextStream, isEmptyToBeginWith) {
    EXPECT_STREQ(VQ_Text_Stream(1024, 32).m_pText, "");
}

TEST(TextStream, appendsPiecesInOrder) {
    VQ_Text_Stream stream(1024, 32);
    stream << "index: " << 7U << ", rate: " << -3 << "]";
    EXPECT_STREQ(stream.m_pText, "index: 7, rate: -3]");
}

TEST(TextStream, writesIntegersOfFullRange) {
    EXPECT_EQ(text(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(text(std::numeric_limits<unsigned int>::max()), "4294967295");
    EXPECT_EQ(text(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
}

TEST(TextStream, writesPointersInHexadecimal) {
    EXPECT_EQ(text(reinterpret_cast<const void*>(0xBEEF)), "0xbeef");
    EXPECT_EQ(text(static_cast<const void*>(nullptr)), "0x0");
}

TEST(TextStream, writesDoublesWithoutTrailingZeros) {
    EXPECT_EQ(text(1920.0), "1920");
    EXPECT_EQ(text(-0.5), "-0.5");
    EXPECT_EQ(text(0.0), "0");
    EXPECT_EQ(text(100.0), "100");
}

TEST(TextStream, cutsFractionsToTheFormatSetting) {
    VQ_Text_Stream stream(1024, 32);
    stream.m_nFormat = 4;
    stream << 59.94005994;
    EXPECT_STREQ(stream.m_pText, "59.9401");
}

TEST(TextStream, writesTheLargestDouble) {
    EXPECT_EQ(text(std::numeric_limits<double>::max()).size(), 309U);
}

TEST(TextStream, growsPastItsCapacity) {
    VQ_Text_Stream stream(4, 1);
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        stream << "abcdefg";
        expected += "abcdefg";
    }
    EXPECT_EQ(stream.m_pText, expected);
}

TEST(TextStream, worksFromNoCapacityAtAll) {
    VQ_Text_Stream stream(0, 0);
    EXPECT_STREQ(stream.m_pText, "");
    stream << "text";
    EXPECT_STREQ(stream.m_pText, "text");
}

TEST(TextStream, appendsNothingForANullText) {
    EXPECT_EQ(text(static_cast<const char*>(nullptr)), "");
}

}  // namespace
