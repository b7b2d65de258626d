// That the tests of this program test what they mean to: the shipped library, over the scripted
// platform and none besides, with the support calls of this program in front.
#include <CoreGraphics/CoreGraphics.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "contract_test.h"
#include "kxcommon64.h"
#include "vqutilc.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

std::string homeOf(const void* address) {
    Dl_info information{};
    if (dladdr(address, &information) == 0) {
        return "nowhere";
    }
    return std::filesystem::canonical(information.dli_fname);
}

std::string homeOf(const char* symbol) {
    return homeOf(dlsym(RTLD_DEFAULT, symbol));
}

std::string thisProgram() {
    static const char inThisProgram = 0;
    return homeOf(static_cast<const void*>(&inThisProgram));
}

// Taken after the libraries were loaded and before the first test.
const size_t callsBeforeMain = scripted::calls().size();
const size_t messagesBeforeMain = trace_recorder::messages().size();

class Seams : public ContractTest {};

TEST_F(Seams, theLibrarysPlatformCallsReachTheScriptedPlatform) {
    CapMgr_GetMonitorCount();
    EXPECT_EQ(scripted::countCalls("CGGetActiveDisplayList"), 2U);
    EXPECT_THAT(homeOf("CGGetActiveDisplayList"),
                EndsWith("/tests/fakes/libqor_coregraphics" LIBRARY_SUFFIX));
}

TEST_F(Seams, theExportedFunctionsComeFromTheShippedLibrary) {
    EXPECT_THAT(homeOf("CapMgr_StartCapture"),
                EndsWith("/lib/libqor_conf_capturemanager" LIBRARY_SUFFIX));
}

TEST_F(Seams, nothingRunsWhenTheLibraryIsLoaded) {
    EXPECT_EQ(callsBeforeMain, 0U);
    EXPECT_EQ(messagesBeforeMain, 0U);
}

class InterposedSymbol : public Seams, public testing::WithParamInterface<const char*> {};

TEST_P(InterposedSymbol, isFoundInThisProgramFirst) {
    EXPECT_EQ(homeOf(GetParam()), thisProgram());
}

INSTANTIATE_TEST_SUITE_P(
    SupportCalls, InterposedSymbol,
    testing::Values("vq_trace_level", "vq_get_trace_file_line", "vq_trace_write",
                    "vq_trace_input_error_msg", "memset_s", "memcpy_s", "strncpy_s",
                    "get_tick_count", "usleep", "pthread_create", "pthread_cancel",
                    "pthread_attr_destroy", "pthread_attr_setscope", "_ZN14VQ_Text_StreamC1Ejj",
                    "_ZN14VQ_Text_StreamD1Ev", "_ZN8VQ_Event4waitEj",
                    "_ZN19VQ_Critical_Section4initEv", "_ZN19VQ_Critical_Section7cleanupEv",
                    "_ZN19VQ_Critical_Section4lockEv", "_ZN19VQ_Critical_Section6unlockEv", "_Znwm",
                    "_ZnamRKSt9nothrow_t", "_ZdlPv", "_ZdaPv"));

TEST_F(Seams, anActionIsDoneOnceAtItsCallAndForgottenWithTheRest) {
    size_t done = 0;
    scripted::whenCalled(
        "CGMainDisplayID", [&] { ++done; }, 1);
    CGMainDisplayID();
    EXPECT_EQ(done, 0U);
    CGMainDisplayID();
    CGMainDisplayID();
    EXPECT_EQ(done, 1U);
    scripted::whenCalled("CGMainDisplayID", [&] { ++done; });
    scripted::reset();
    CGMainDisplayID();
    EXPECT_EQ(done, 1U);
}

// The checks that every test ends with must see what they are for.

TEST_F(Seams, aLeakedObjectIsFound) {
    const CGImageRef image = CGDisplayCreateImage(kMain);
    EXPECT_THAT(scripted::leaks(), testing::Contains("leaked image#1, references 1"));
    CGImageRelease(image);
    EXPECT_THAT(scripted::leaks(), testing::IsEmpty());
}

TEST_F(Seams, anObjectReleasedTooOftenIsFound) {
    const CGImageRef image = CGDisplayCreateImage(kMain);
    CGImageRelease(image);
    CGImageRelease(image);
    EXPECT_THAT(scripted::faults(), ElementsAre("CGImageRelease of a released object: image#1"));
    scripted::reset();
}

TEST_F(Seams, anObjectThatWasNeverMadeIsFound) {
    const int stray = 0;
    CFRelease(&stray);
    EXPECT_THAT(scripted::faults(), ElementsAre("CFRelease of a foreign object"));
    scripted::reset();
}

TEST_F(Seams, aMessageToldOnceOnlyIsFound) {
    vq_trace_write(0, "lonely", 0);
    EXPECT_THAT(trace_recorder::faults(),
                ElementsAre("not told to vq_trace_input_error_msg: lonely"));
    trace_recorder::forget();
}

}  // namespace
