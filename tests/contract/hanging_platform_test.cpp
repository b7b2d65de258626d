// A platform call that does not come back while a capture is stopped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract_test.h"
#include "thread_watch.h"

namespace {

using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

constexpr char kDeleted[] = "[KXSC] CCaptureMac::~CCaptureMac()... End";

std::vector<std::string> textsOf(const std::vector<Message>& messages) {
    std::vector<std::string> texts;
    for (const Message& message : messages) {
        texts.push_back(message.text);
    }
    return texts;
}

struct HangingCall {
    const char* function;
    bool cancellable;  // the platform's wait; it is not to be cut short either way
    bool withExclusions = false;
    bool fails = false;  // when it comes back
};

// The host must live on when the platform does not answer, and so must the memory of what it freed.
class HangingPlatform : public ContractTest, public testing::WithParamInterface<HangingCall> {
  protected:
    // Waited for in vain, and once more after it was cancelled: the platform's own cancellation
    // points let nothing in.
    static void stop(unsigned int index) {
        driven_time::timeOutNextEventWait(2);
        EXPECT_TRUE(CapMgr_StopCapture(index, 0));
        EXPECT_EQ(thread_watch::cancelled(), 1U);
        EXPECT_EQ(driven_time::eventWaits(), (std::vector<unsigned int>{3000, 200}));
    }

    // Lets the thread go on: it does nothing more with the capture than to delete it, for which the
    // stop had to wait for it.
    static void goOn() {
        EXPECT_THAT(textsOf(trace_recorder::messages()), Not(Contains(kDeleted)));
        forgetEverything();
        driven_time::runFreely();
        scripted::letGo();
        EXPECT_TRUE(thread_watch::awaitNone());
        const auto messages = textsOf(trace_recorder::messagesOfOtherThreads());
        EXPECT_THAT(messages, Contains(kDeleted));
        EXPECT_THAT(messages, Each(AnyOf(HasSubstr("CCaptureMac::~CCaptureMac()"),
                                         HasSubstr("CCaptureMac::UnInit()"),
                                         HasSubstr("CCaptureBase::DeallocBuffer[Mem]"))));
        for (const scripted::Call& call : scripted::calls()) {
            EXPECT_THAT(call.text, HasSubstr("Release")) << "it only gives back";
        }
    }
};

TEST_P(HangingPlatform, neverSeesTheFreedCaptureWhenItGoesOn) {
    const unsigned int index = startedCapture();
    scripted::showWindows({31, 7});
    if (GetParam().withExclusions) {
        CapMgr_SetExcludeWnd(index, window(7), CAP_EXC_WND_ADD);
    }
    if (GetParam().fails) {
        scripted::fail(GetParam().function);
    }
    scripted::hang(GetParam().function, GetParam().cancellable);
    driven_time::wake();
    ASSERT_TRUE(scripted::awaitHang());
    stop(index);
    goOn();
}

std::string callName(const testing::TestParamInfo<HangingCall>& instance) {
    return std::string(instance.param.function) +
           (instance.param.cancellable ? "Cancellable" : "NotCancellable") +
           (instance.param.fails ? "Failing" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Frames, HangingPlatform,
    testing::Values(HangingCall{"CGWindowListCreateImage", true},
                    HangingCall{"CGWindowListCreateImage", false},
                    HangingCall{"CGDataProviderCopyData", true},
                    HangingCall{"CGDataProviderCopyData", false},
                    HangingCall{"CGWindowListCreate", true, true},
                    HangingCall{"CGWindowListCreate", false, true},
                    HangingCall{"CGWindowListCreateImageFromArray", true, true},
                    HangingCall{"CGWindowListCreateImageFromArray", false, true},
                    HangingCall{"CGWindowListCreateImage", false, false, true},
                    HangingCall{"CGDataProviderCopyData", false, false, true},
                    HangingCall{"CGWindowListCreate", false, true, true},
                    HangingCall{"CGWindowListCreateImageFromArray", false, true, true}),
    callName);

class HangingInit : public HangingPlatform {};

TEST_P(HangingInit, neverSeesTheFreedCaptureWhenItGoesOn) {
    if (GetParam().fails) {
        scripted::fail(GetParam().function);
    }
    scripted::hang(GetParam().function, GetParam().cancellable);
    const unsigned int index = CapMgr_GenerateCaptureIndex();
    EXPECT_EQ(CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                  PARALLEL_CAPTURE_MODE),
              0U);
    ASSERT_TRUE(scripted::awaitHang());
    stop(index);
    goOn();
}

INSTANTIATE_TEST_SUITE_P(Display, HangingInit,
                         testing::Values(HangingCall{"CGDisplayCreateImage", true},
                                         HangingCall{"CGDisplayCreateImage", false},
                                         HangingCall{"CGDisplayCreateImage", false, false, true}),
                         callName);

}  // namespace
