// Regular expressions as on macOS.
#include <gtest/gtest.h>
#include <regex.h>

#include <array>
#include <string>

namespace {

struct Expectation {
    const char* pattern;
    int flags;
    const char* text;
    int result;
    regoff_t start;
    regoff_t end;
};

const Expectation kExpectations[] = {
    {"b+", REG_EXTENDED, "abbc", 0, 1, 3},
    {"(b)(c)?", REG_EXTENDED, "ab", 0, 1, 2},
    {"B", REG_ICASE, "ab", 0, 1, 2},
    {"B", 0, "ab", REG_NOMATCH, -1, -1},
    {"^c$", REG_EXTENDED | REG_NEWLINE, "ab\nc\nd", 0, 3, 4},
    {"^c$", REG_EXTENDED, "ab\nc\nd", REG_NOMATCH, -1, -1},
    {"x|y", REG_EXTENDED, "zy", 0, 1, 2},
};

class RegularExpression : public testing::TestWithParam<Expectation> {};

TEST_P(RegularExpression, MatchesWhereItShould) {
    regex_t expression{};
    ASSERT_EQ(regcomp(&expression, GetParam().pattern, GetParam().flags), 0);
    regmatch_t match{-1, -1};
    EXPECT_EQ(regexec(&expression, GetParam().text, 1, &match, 0), GetParam().result);
    EXPECT_EQ(match.rm_so, GetParam().start);
    EXPECT_EQ(match.rm_eo, GetParam().end);
    regfree(&expression);
}

INSTANTIATE_TEST_SUITE_P(System, RegularExpression, testing::ValuesIn(kExpectations));

TEST(RegularExpression, CountsAndFindsItsGroups) {
    regex_t expression{};
    ASSERT_EQ(regcomp(&expression, "(a)(x)?(b)", REG_EXTENDED), 0);
    EXPECT_EQ(expression.re_nsub, 3U);
    std::array<regmatch_t, 4> matches{};
    EXPECT_EQ(regexec(&expression, "-ab", matches.size(), matches.data(), 0), 0);
    EXPECT_EQ(matches[1].rm_so, 1);
    EXPECT_EQ(matches[2].rm_so, -1);
    EXPECT_EQ(matches[3].rm_eo, 3);
    regfree(&expression);
}

TEST(RegularExpression, WithoutGroupsOnlySaysWhetherItMatches) {
    regex_t expression{};
    ASSERT_EQ(regcomp(&expression, "(b)", REG_EXTENDED | REG_NOSUB), 0);
    regmatch_t untouched{7, 7};
    EXPECT_EQ(regexec(&expression, "abc", 1, &untouched, 0), 0);
    EXPECT_EQ(untouched.rm_so, 7);
    EXPECT_EQ(regexec(&expression, "ac", 0, nullptr, 0), REG_NOMATCH);
    regfree(&expression);
}

TEST(RegularExpression, FaultyPatternsHaveTheirErrors) {
    regex_t expression{};
    EXPECT_EQ(regcomp(&expression, "(a", REG_EXTENDED), REG_EPAREN);
    EXPECT_EQ(regcomp(&expression, "[a", REG_EXTENDED), REG_EBRACK);
}

}  // namespace
