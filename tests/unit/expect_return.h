// Calls that must come back: a child process makes them, which dies of what they must not do.
#ifndef UNIT_EXPECT_RETURN_H
#define UNIT_EXPECT_RETURN_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

// Fails unless call returns and says nothing on standard error. The rest of the test around it runs
// in the child too, up to here: a forked copy would lack the sanitizers' threads.
template <typename Call>
void expectReturn(Call call) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            call();
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), testing::IsEmpty());
}

#endif
