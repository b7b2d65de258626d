// Which instruction set's kernels are taken. The choice is made once in the life of a process,
// hence the child processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "scaling.h"

namespace {

using qor::scaling::chosenRowKernels;
using qor::scaling::nameOf;
using qor::scaling::RowKernels;
using qor::scaling::usableRowKernels;
using testing::ExitedWithCode;
using testing::StrEq;

constexpr const char* kVariable = "QOR_KXCOMMON64_KERNELS";

std::vector<std::string> usableNames() {
    std::vector<std::string> names;
    for (const RowKernels* kernels : usableRowKernels()) {
        names.emplace_back(nameOf(*kernels));
    }
    return names;
}

void tellChoice() {
    std::fprintf(stderr, "%s\n", nameOf(chosenRowKernels()));
}

[[noreturn]] void tellChoiceFor(const char* name) {
    setenv(kVariable, name, 1);
    tellChoice();
    std::_Exit(0);
}

class KernelChoiceDeathTest : public testing::Test {
  protected:
    // A child of its own beginning has not chosen yet, whatever ran before it.
    KernelChoiceDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(KernelChoiceDeathTest, takesTheOneThatTheEnvironmentNames) {
    for (const std::string& name : usableNames()) {
        EXPECT_EXIT(tellChoiceFor(name.c_str()), ExitedWithCode(0), StrEq(name + "\n"));
    }
}

TEST_F(KernelChoiceDeathTest, takesTheFastestUnasked) {
    EXPECT_EXIT(
        {
            unsetenv(kVariable);
            tellChoice();
            std::_Exit(0);
        },
        ExitedWithCode(0), StrEq(usableNames().back() + "\n"));
}

TEST_F(KernelChoiceDeathTest, saysThatANameIsNotAmongThoseThatRunAndTakesTheFastest) {
    const std::vector<std::string> names = usableNames();
    std::string line = "qor_conf_kxcommon64: QOR_KXCOMMON64_KERNELS=mmx is not among:";
    for (const std::string& name : names) {
        line += " " + name;
    }
    line += "; taking " + names.back() + "\n";
    EXPECT_EXIT(tellChoiceFor("mmx"), ExitedWithCode(0), StrEq(line + names.back() + "\n"));
}

TEST_F(KernelChoiceDeathTest, isMadeOnce) {
    EXPECT_EXIT(
        {
            setenv(kVariable, "scalar", 1);
            tellChoice();
            tellChoiceFor(usableNames().back().c_str());
        },
        ExitedWithCode(0), StrEq("scalar\nscalar\n"));
}

TEST(UsableRowKernels, beginWithTheScalarOnesAndKeepTheOrderOfTheirSpeed) {
    const std::vector<std::string> names = usableNames();
    EXPECT_EQ(names.front(), "scalar");
    const std::vector<std::string> inOrder = {"scalar", "sse4.1", "avx2", "avx512", "neon"};
    auto next = inOrder.begin();
    for (const std::string& name : names) {
        next = std::find(next, inOrder.end(), name);
        ASSERT_NE(next, inOrder.end()) << name;
        ++next;
    }
}

// Compared with the compiler's own answer, for which not every linker for macOS has the support.
#if defined(__x86_64__) && !defined(__APPLE__)
TEST(UsableRowKernels, areThoseThatTheProcessorRuns) {
    const std::vector<std::string> names = usableNames();
    const auto isUsable = [&](const char* name) { return std::ranges::count(names, name) == 1; };
    EXPECT_EQ(isUsable("sse4.1"), __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(isUsable("avx2"), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(isUsable("avx512"),
              __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi") != 0);
    EXPECT_FALSE(isUsable("neon"));
}
#endif

}  // namespace
