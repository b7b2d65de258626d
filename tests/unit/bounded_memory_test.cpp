#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "kxcommon64.h"
#include "vqutilc.h"

namespace {

TEST(memset_s, fillsCountBytes) {
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memset_s(buffer, sizeof buffer, 'x', 3), 0);
    EXPECT_EQ(std::string(buffer, 4), "xxxd");
}

TEST(memset_s, refusesNullAndWhatDoesNotFit) {
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memset_s(nullptr, 4, 0, 4), EINVAL);
    EXPECT_EQ(memset_s(buffer, 3, 'x', 4), ERANGE);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
}

TEST(memcpy_s, copiesCountBytes) {
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memcpy_s(buffer, sizeof buffer, "xyz", 3), 0);
    EXPECT_EQ(std::string(buffer, 4), "xyzd");
}

TEST(memcpy_s, refusesNullAndWhatDoesNotFit) {
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memcpy_s(nullptr, 4, "x", 1), EINVAL);
    EXPECT_EQ(memcpy_s(buffer, 4, nullptr, 1), EINVAL);
    EXPECT_EQ(memcpy_s(buffer, 2, "xyz", 3), ERANGE);
    EXPECT_EQ(std::string(buffer, 4), "abcd");
}

TEST(strncpy_s, copiesUpToTheNulOrTheCount) {
    char buffer[8];
    EXPECT_EQ(strncpy_s(buffer, sizeof buffer, "abc", 7), 0);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(strncpy_s(buffer, sizeof buffer, "abcdefghij", 7), 0);
    EXPECT_STREQ(buffer, "abcdefg");
}

TEST(strncpy_s, emptiesTheTargetOnFailure) {
    char buffer[4] = "old";
    EXPECT_EQ(strncpy_s(buffer, sizeof buffer, "abcd", 4), ERANGE);
    EXPECT_STREQ(buffer, "");
    std::strcpy(buffer, "old");
    EXPECT_EQ(strncpy_s(buffer, sizeof buffer, nullptr, 3), EINVAL);
    EXPECT_STREQ(buffer, "");
}

TEST(strncpy_s, refusesATargetOfNoSize) {
    char buffer[4] = "old";
    EXPECT_EQ(strncpy_s(buffer, 0, "a", 1), EINVAL);
    EXPECT_EQ(strncpy_s(nullptr, 4, "a", 1), EINVAL);
    EXPECT_STREQ(buffer, "old");
}

TEST(snprintf_s, writesAtMostCountCharacters) {
    char buffer[4];
    EXPECT_EQ(snprintf_s(buffer, sizeof buffer, 3, "%d", 255), 3);
    EXPECT_STREQ(buffer, "255");
    EXPECT_EQ(snprintf_s(buffer, sizeof buffer, 2, "%d", 255), -1);
    EXPECT_STREQ(buffer, "25");
}

TEST(snprintf_s, neverPassesTheBuffersEnd) {
    char buffer[8] = "1234567";
    EXPECT_EQ(snprintf_s(buffer, 4, 100, "%s", "abcdef"), -1);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(buffer[4], '5');
}

TEST(snprintf_s, refusesNoBuffer) {
    char buffer[4] = "old";
    EXPECT_EQ(snprintf_s(nullptr, 4, 3, "%d", 1), -1);
    EXPECT_EQ(snprintf_s(buffer, 0, 3, "%d", 1), -1);
    EXPECT_STREQ(buffer, "old");
}

TEST(MacroMemcpy, copiesNoMoreThanTheTargetHolds) {
    char buffer[5] = "abcd";
    MacroMemcpy(buffer, 2, "xyz", 3);
    EXPECT_STREQ(buffer, "xycd");
    MacroMemcpy(buffer, 4, "12", 2);
    EXPECT_STREQ(buffer, "12cd");
}

TEST(MacroMemcpy, copiesNothingFromOrToNull) {
    char buffer[5] = "abcd";
    MacroMemcpy(nullptr, 4, buffer, 4);
    MacroMemcpy(buffer, 4, nullptr, 4);
    EXPECT_STREQ(buffer, "abcd");
}

}  // namespace
