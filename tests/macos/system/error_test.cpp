// Error numbers and their texts as macOS has them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "started_thread.h"

namespace {

int errorOf(int result) {
    return result == -1 ? errno : 0;
}

TEST(Error, NumbersAreMacs) {
    EXPECT_EQ(errorOf(open("/nowhere/at/all", O_RDONLY)), 2);
    EXPECT_EQ(errorOf(chdir(std::string(2000, 'x').c_str())), 63);  // ENAMETOOLONG
    EXPECT_EQ(errorOf(static_cast<int>(lseek(-1, 0, SEEK_SET))), 9);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    char byte = 0;
    EXPECT_EQ(errorOf(static_cast<int>(read(ends[0], &byte, 1))), 35);  // EAGAIN
    close(ends[0]);
    close(ends[1]);
}

TEST(Error, StaysUntilItIsSetAgain) {
    errno = 0;
    EXPECT_EQ(close(-1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(errno, EBADF);
    errno = 0;
    EXPECT_EQ(errno, 0);
}

TEST(Error, BelongsToItsThread) {
    errno = ERANGE;
    StartedThread other([]() -> void* {
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(close(-1), -1);
        EXPECT_EQ(errno, EBADF);
        return nullptr;
    });
    other.join();
    EXPECT_EQ(errno, ERANGE);
}

TEST(Error, NumberThatDoesNotFitSetsIt) {
    errno = 0;
    EXPECT_EQ(std::strtol("99999999999999999999", nullptr, 10), LONG_MAX);
    EXPECT_EQ(errno, ERANGE);
}

TEST(Error, TextWithoutANumberSetsIt) {
    const char* const text = "none";
    char* end = nullptr;
    errno = 0;
    EXPECT_EQ(std::strtoll(text, &end, 10), 0);
    EXPECT_EQ(end, text);
    EXPECT_EQ(errno, EINVAL);
}

struct ErrorText {
    int error;
    const char* text;
};

class ErrorTextOf : public testing::TestWithParam<ErrorText> {};

TEST_P(ErrorTextOf, IsMacs) {
    EXPECT_STREQ(std::strerror(GetParam().error), GetParam().text);
    std::array<char, 80> text{};
    EXPECT_EQ(strerror_r(GetParam().error, text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(System, ErrorTextOf,
                         testing::Values(ErrorText{EPERM, "Operation not permitted"},
                                         ErrorText{EDEADLK, "Resource deadlock avoided"},
                                         ErrorText{EAGAIN, "Resource temporarily unavailable"},
                                         ErrorText{ENOTSUP, "Operation not supported"},
                                         ErrorText{ETIMEDOUT, "Operation timed out"},
                                         ErrorText{ECANCELED, "Operation canceled"}));

TEST(Error, UnknownNumberAndShortBufferAreReported) {
    std::array<char, 80> text{};
    EXPECT_EQ(strerror_r(4711, text.data(), text.size()), EINVAL);
    EXPECT_STREQ(text.data(), "Unknown error: 4711");
    EXPECT_EQ(strerror_r(EPERM, text.data(), 4), ERANGE);
}

}  // namespace
