// Hostile values given to the exported functions of a capture, and what is asked of every function.
#include <gtest/gtest.h>

#include <array>

#include "hostile_call.h"

namespace {

using Call = HostileCall<>;
using Function = HostileFunction<>;

TEST_P(HostileArguments, areAnsweredBeforeAStart) {
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        SCOPED_TRACE(i);
        const Call& hostile = GetParam().calls[i];
        CapMgr_GenerateCaptureIndex();
        EXPECT_EQ(answerOf(hostile.call), hostile.idle);
        EXPECT_TRUE(works(0));
        renew();
    }
}

TEST_P(HostileArguments, areAnsweredDuringACapture) {
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        SCOPED_TRACE(i);
        const Call& hostile = GetParam().calls[i];
        if (!hostile.running) {
            continue;
        }
        startedCapture();
        EXPECT_EQ(answerOf(hostile.call), *hostile.running);
        EXPECT_TRUE(goesOn());
        EXPECT_TRUE(works(0));
        renew();
    }
}

TEST_P(HostileArguments, leaveALibraryThatWorksAfterTheManagerWasDeleted) {
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        SCOPED_TRACE(i);
        CMonitorManager::GetInstance();
        CMonitorManager::DeleteInstance();
        GetParam().calls[i].call();
        EXPECT_TRUE(works(CapMgr_GenerateCaptureIndex()));
        renew();
    }
}

// Control.

struct Start {
    int method;
    int type;
    unsigned int version;
    int mode;
};

std::string start(const Start& start) {
    return std::to_string(CapMgr_StartCapture(0, 0, static_cast<CAP_METHOD>(start.method),
                                              static_cast<CAP_TYPE>(start.type), start.version,
                                              static_cast<CAP_MODE>(start.mode)));
}

std::string add(const Start& start) {
    return text(manager().AddCaptureInstance(0, 0, static_cast<CAP_METHOD>(start.method),
                                             static_cast<CAP_TYPE>(start.type), start.version,
                                             static_cast<CAP_MODE>(start.mode)));
}

constexpr std::initializer_list<Start> kUnsupported = {
    {INT_MIN, 0, 0, 1}, {-1, 0, 0, 1}, {1, 0, 0, 1}, {8, 0, 0, 1}, {INT_MAX, 0, 0, 1}};
constexpr std::initializer_list<Start> kOddButStarted = {
    {0, INT_MIN, 0, 1}, {4, -1, 0, 1},       {4, 2, 0, 1},
    {4, INT_MAX, 0, 1}, {4, 0, UINT_MAX, 1}, {0, INT_MAX, UINT_MAX, INT_MIN}};
constexpr std::initializer_list<Start> kOddModes = {
    {4, 0, 0, INT_MIN}, {4, 0, 0, -1}, {4, 0, 0, 2}, {4, 0, 0, INT_MAX}};

const Message kTypeError = error("CMonitorManager::AddCaptureInstance()... Capture Type Error!");
const Message kAlreadyThere =
    error("CMonitorManager::AddCaptureInstance()... Capture is already existed!");

std::string setFrameSize(const CAP_SIZE& size) {
    return text(CapMgr_SetCaptureFrameSize(0, size));
}

INSTANTIATE_TEST_SUITE_P(
    Control, HostileArguments,
    testing::Values(
        Function{"CapMgr_GenerateCaptureIndex",
                 {{[] { return std::to_string(CapMgr_GenerateCaptureIndex()); }, Answer{"1"},
                   Answer{"1"}}}},
        Function{"CapMgr_StartCapture",
                 joined(each<Call>(kUnsupported, start, {"1", {kTypeError}}),
                        each<Call>(kOddButStarted, start, kZero),
                        each<Call>(kOddModes, start, kZero, Answer{"0", {kAlreadyThere}}))},
        // A start replaces a running capture likewise, and is there to start the new one.
        Function{"CMonitorManager_AddCaptureInstance",
                 joined(each<Call>(kUnsupported, add, {"false", {kTypeError}}),
                        each<Call>(kOddButStarted, add, kTrue, std::nullopt),
                        each<Call>(kOddModes, add, kTrue, Answer{"true", {kAlreadyThere}}))},
        Function{"CapMgr_StopCapture",
                 each<Call>(
                     {INT_MIN, -1, 0, 1, 2, INT_MAX},
                     [](int flush) { return text(CapMgr_StopCapture(0, flush)); }, kFalse, kTrue)},
        Function{"CapMgr_PauseCapture",
                 {{[] { return text(CapMgr_PauseCapture(0)); }, kFalse, kTrue}}},
        Function{"CapMgr_ResumeCapture",
                 {{[] { return text(CapMgr_ResumeCapture(0)); }, kFalse, kFalse}}},
        Function{"CapMgr_IsSerialCapMode",
                 {{[] { return text(CapMgr_IsSerialCapMode(0)); }, kFalse, kFalse}}},
        Function{
            "CapMgr_SetCaptureFrameSize",
            joined(each<Call, CAP_SIZE>({{0, 0}, {0, 1}, {UINT_MAX, 0}}, setFrameSize,
                                        refusal("false", "SetFrameRate... param stSize invalid!")),
                   each<Call, CAP_SIZE>({{1, 1}}, setFrameSize, kTrue),
                   // Stored without a look at them; of some the bytes are 0 in 32 bits.
                   each<Call, CAP_SIZE>({{HostileTest::kMainWidth + 1, 1},
                                         {1, INT_MAX},
                                         {INT_MAX + 1U, 2},
                                         {65536, 16384},
                                         {UINT_MAX, UINT_MAX}},
                                        setFrameSize, kTrue,
                                        refusal("false",
                                                "CCaptureBase::SetFrameRate... param "
                                                "nFrameSize error")))}),
    nameOfFunction);

// Frames.

struct Picture {
    bool hasData;
    unsigned int length;
};

std::string update(const Picture& picture) {
    static const std::array<unsigned char, 4> pixel{};
    CapMgr_UpdateScreenBuffer(0, picture.hasData ? pixel.data() : nullptr, picture.length);
    return "";
}

constexpr unsigned int kFrameBytes = HostileTest::kMainWidth * HostileTest::kMainHeight * 4;

const Answer kTooLong = {"",
                         {bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")}};
const Answer kNoCapture = refusal("", "CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL");

INSTANTIATE_TEST_SUITE_P(
    Frames, HostileArguments,
    testing::Values(
        Function{"CapMgr_UpdateScreenBuffer",
                 joined(each<Call, Picture>(
                            {{true, 0}, {true, 4}, {false, 0}, {false, 1}, {false, kFrameBytes}},
                            update, kNoCapture, kNothing),
                        each<Call, Picture>({{false, kFrameBytes + 1},
                                             {true, INT_MAX},
                                             {true, UINT_MAX},
                                             {false, UINT_MAX}},
                                            update, kNoCapture, kTooLong))},
        Function{"CapMgr_CaptureScreenBuffer",
                 {{[] { return text(CapMgr_CaptureScreenBuffer(0)); },
                   Answer{"no frame", {framePath(0, " pCapture == NULL")}}, Answer{"no frame"}}}},
        Function{"CapMgr_LockScreenBuffer",
                 {{[] {
                       CapMgr_LockScreenBuffer(0);
                       const CAP_DESKTOP_DATA again = CapMgr_LockScreenBuffer(0);
                       CapMgr_UnlockScreenBuffer(0);
                       CapMgr_UnlockScreenBuffer(0);
                       return text(again);
                   },
                   Answer{"no frame"}, Answer{"161 x 91, 58604 bytes"}}}},
        Function{
            "CapMgr_UnlockScreenBuffer",
            {{[] { return std::to_string(CapMgr_UnlockScreenBuffer(0)); }, kZero, Answer{"3"}}}}),
    nameOfFunction);

// Settings.

struct Exclusion {
    uintptr_t window;
    int action;
};

std::string exclude(const Exclusion& exclusion) {
    CapMgr_SetExcludeWnd(0, window(exclusion.window),
                         static_cast<tagCapExcWndActType>(exclusion.action));
    return "";
}

struct Sharing {
    unsigned int window;
    int action;
};

std::string share(const Sharing& sharing) {
    CapMgr_SetSharedAppWnd(0, sharing.window, static_cast<tagCapAppActType>(sharing.action));
    return "";
}

const Answer kNoneToShare = refusal("", "SetSharedAppWnd... param pCapture invalid!");

const std::initializer_list<unsigned int> kRates = {
    1, 31, 1001, INT_MAX, INT_MAX + 1U, UINT_MAX - 1, UINT_MAX};

INSTANTIATE_TEST_SUITE_P(
    Settings, HostileArguments,
    testing::Values(
        Function{"CapMgr_SetMaxFrameRate",
                 joined(each<Call>(
                            kRates,
                            [](unsigned int rate) { return text(CapMgr_SetMaxFrameRate(0, rate)); },
                            kTrue),
                        std::vector<Call>{{[] { return text(CapMgr_SetMaxFrameRate(0, 0)); },
                                           refusal("false",
                                                   "CapMgr_SetMaxFrameRate... param nFrameRate "
                                                   "invalid!"),
                                           refusal("false",
                                                   "CapMgr_SetMaxFrameRate... param nFrameRate "
                                                   "invalid!")}})},
        Function{"CapMgr_UpdateFrameRate",
                 joined(each<Call>(
                            kRates,
                            [](unsigned int rate) { return text(CapMgr_UpdateFrameRate(0, rate)); },
                            kTrue),
                        std::vector<Call>{{[] { return text(CapMgr_UpdateFrameRate(0, 0)); },
                                           refusal("false",
                                                   "CapMgr_UpdateFrameRate... param nFrameRate "
                                                   "invalid!"),
                                           refusal("false",
                                                   "CapMgr_UpdateFrameRate... param nFrameRate "
                                                   "invalid!")}})},
        Function{"CapMgr_GetMaxFrameRate",
                 {{[] { return std::to_string(CapMgr_GetMaxFrameRate(0)); }, kZero, Answer{"3"}}}},
        Function{"CapMgr_GetCurFrameRate",
                 {{[] { return std::to_string(CapMgr_GetCurFrameRate(0)); }, kZero, Answer{"3"}}}},
        Function{"CapMgr_GetCapFailResult",
                 {{[] { return std::to_string(CapMgr_GetCapFailResult(0)); }, kZero, kZero}}},
        Function{"CapMgr_SetExcludeWnd",
                 joined(each<Call, Exclusion>({{0, 0},
                                               {UINTPTR_MAX, 0},
                                               {UINTPTR_MAX, 1},
                                               {UINTPTR_MAX, 2},
                                               {UINTPTR_MAX, 3},
                                               {1, INT_MIN},
                                               {1, -1},
                                               {1, INT_MAX}},
                                              exclude, kNothing),
                        each<Call, Exclusion>(
                            {{0, 1}, {0, 2}, {0, 3}, {0, INT_MIN}, {0, -1}, {0, INT_MAX}}, exclude,
                            kNothing,
                            refusal("",
                                    "CMagCapture::SetExcludeWnd()... Invalid "
                                    "Param!")))},
        Function{"CapMgr_SetSharedAppWnd",
                 joined(each<Call, Sharing>({{0, 0}, {0, 1}, {0, -1}, {0, INT_MIN}, {0, INT_MAX}},
                                            share, kNoneToShare,
                                            refusal("",
                                                    "CCaptureBase::SetSharedAppWnd()... "
                                                    "Invalid Param!")),
                        each<Call, Sharing>({{UINT_MAX, 1}, {INT_MAX + 1U, 1}}, share, kNoneToShare,
                                            refusal("",
                                                    "CCaptureBase::SetSharedAppWnd()... "
                                                    "SharedWnd ID changed!")),
                        each<Call, Sharing>({{UINT_MAX, 0}, {1, -1}, {1, INT_MIN}, {1, INT_MAX}},
                                            share, kNoneToShare, kNothing))},
        Function{"CapMgr_SetAppShareBgColor",
                 each<Call>({0U, 1U, 2U, INT_MAX + 1U, UINT_MAX}, noResult([](unsigned int value) {
                                CapMgr_SetAppShareBgColor(0, value, UINT_MAX, UINT_MAX);
                            }),
                            kNothing)}),
    nameOfFunction);

}  // namespace
