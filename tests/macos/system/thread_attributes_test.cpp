// Thread attributes as on macOS.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>

#include "started_thread.h"

namespace {

class ThreadAttributes : public testing::Test {
  protected:
    ThreadAttributes() { EXPECT_EQ(pthread_attr_init(&attributes_), 0); }
    ~ThreadAttributes() override { pthread_attr_destroy(&attributes_); }

    pthread_attr_t attributes_{};
};

TEST_F(ThreadAttributes, StartJoinableWithHalfAMegabyteOfStack) {
    int state = 0;
    size_t size = 0;
    EXPECT_EQ(pthread_attr_getdetachstate(&attributes_, &state), 0);
    EXPECT_EQ(state, PTHREAD_CREATE_JOINABLE);
    EXPECT_EQ(pthread_attr_getstacksize(&attributes_, &size), 0);
    EXPECT_EQ(size, size_t{512} * 1024);
}

TEST_F(ThreadAttributes, ScopeIsTheSystems) {
    EXPECT_EQ(ENOTSUP, 45);
    EXPECT_EQ(pthread_attr_setscope(&attributes_, PTHREAD_SCOPE_SYSTEM), 0);
    EXPECT_EQ(pthread_attr_setscope(&attributes_, PTHREAD_SCOPE_PROCESS), ENOTSUP);
    EXPECT_EQ(pthread_attr_setscope(&attributes_, 0), EINVAL);
    int scope = 0;
    EXPECT_EQ(pthread_attr_getscope(&attributes_, &scope), 0);
    EXPECT_EQ(scope, PTHREAD_SCOPE_SYSTEM);
}

TEST_F(ThreadAttributes, UnknownDetachStateIsInvalid) {
    EXPECT_EQ(pthread_attr_setdetachstate(&attributes_, 0), EINVAL);
    EXPECT_EQ(pthread_attr_setdetachstate(&attributes_, 3), EINVAL);
}

TEST_F(ThreadAttributes, StackIsWholePagesAndNotTooSmall) {
    EXPECT_EQ(pthread_attr_setstacksize(&attributes_, 4096), EINVAL);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes_, 1'000'001), EINVAL);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes_, 1 << 20), 0);
}

TEST_F(ThreadAttributes, DestroyedOnesAreInvalid) {
    pthread_attr_t destroyed{};
    ASSERT_EQ(pthread_attr_init(&destroyed), 0);
    ASSERT_EQ(pthread_attr_destroy(&destroyed), 0);
    EXPECT_EQ(pthread_attr_setdetachstate(&destroyed, PTHREAD_CREATE_DETACHED), EINVAL);
    EXPECT_EQ(pthread_attr_destroy(&destroyed), EINVAL);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(
                  &thread, &destroyed, [](void*) -> void* { return nullptr; }, nullptr),
              EINVAL);
}

TEST_F(ThreadAttributes, DetachedThreadRunsAndCannotBeJoined) {
    static std::atomic<bool> mayEnd;
    static std::atomic<bool> ran;
    mayEnd = ran = false;
    ASSERT_EQ(pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED), 0);
    pthread_t thread{};
    const auto body = [](void*) -> void* {
        ran = becomesTrue(mayEnd);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes_, body, nullptr), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), EINVAL);
    mayEnd = true;
    EXPECT_TRUE(becomesTrue(ran));
}

}  // namespace
