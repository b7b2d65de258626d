// Capture and monitor indexes that were never handed out.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "hostile_call.h"

namespace {

struct IndexedFunction {
    std::string name;
    std::function<std::string(unsigned int)> call;
    Answer answer;
};

void PrintTo(const IndexedFunction& function, std::ostream* out) {
    *out << function.name;
}

template <typename Object>
std::string nullOrNot(const Object* object) {
    return object == nullptr ? "null" : "an object";
}

uint32_t start(unsigned int capture, unsigned int monitor) {
    return CapMgr_StartCapture(capture, monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                               PARALLEL_CAPTURE_MODE);
}

bool add(unsigned int capture, unsigned int monitor) {
    return manager().AddCaptureInstance(capture, monitor, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP,
                                        0, PARALLEL_CAPTURE_MODE);
}

// Without a record, of which the function speaks with a message of its own.
Answer noRecord(const std::string& result, const std::string& text) {
    return {result, {unknownRecord(), error(text)}};
}

Answer noObject(const std::string& result, const Messages& more = {}) {
    return {result, joined(Messages{unknownInstance()}, more)};
}

class HostileIndex : public HostileTest, public testing::WithParamInterface<IndexedFunction> {
  protected:
    // One of each kind is there: index 0.
    static constexpr std::array<unsigned int, 5> kUnknown = {1, 2, INT_MAX, INT_MAX + 1U, UINT_MAX};

    static void expectAnswers() {
        for (const unsigned int index : kUnknown) {
            EXPECT_EQ(answerOf([&] { return GetParam().call(index); }), GetParam().answer) << index;
        }
    }
};

TEST_P(HostileIndex, isAnsweredBeforeAStart) {
    CapMgr_GenerateCaptureIndex();
    expectAnswers();
    EXPECT_TRUE(works(0));
}

TEST_P(HostileIndex, isAnsweredDuringACapture) {
    startedCapture();
    expectAnswers();
    EXPECT_TRUE(goesOn());
    EXPECT_TRUE(works(0));
}

// The call is the first of the new manager.
TEST_P(HostileIndex, isAnsweredAfterTheManagerWasDeleted) {
    CapMgr_GenerateCaptureIndex();
    for (const unsigned int index : kUnknown) {
        CMonitorManager::DeleteInstance();
        EXPECT_EQ(answerOf([&] { return GetParam().call(index); }), GetParam().answer) << index;
    }
    EXPECT_TRUE(works(CapMgr_GenerateCaptureIndex()));
}

INSTANTIATE_TEST_SUITE_P(
    OfACapture, HostileIndex,
    testing::Values(
        IndexedFunction{"CapMgr_StartCapture",
                        [](unsigned int i) { return std::to_string(start(i, 0)); },
                        noRecord("1", "StartCapture... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_StopCapture",
                        [](unsigned int i) { return text(CapMgr_StopCapture(i, 1)); },
                        noObject("false")},
        IndexedFunction{"CapMgr_PauseCapture",
                        [](unsigned int i) { return text(CapMgr_PauseCapture(i)); },
                        noObject("false")},
        IndexedFunction{"CapMgr_ResumeCapture",
                        [](unsigned int i) { return text(CapMgr_ResumeCapture(i)); },
                        noObject("false")},
        IndexedFunction{"CapMgr_IsSerialCapMode",
                        [](unsigned int i) { return text(CapMgr_IsSerialCapMode(i)); },
                        noObject("false")},
        IndexedFunction{"CapMgr_SetCaptureFrameSize",
                        [](unsigned int i) {
                            return text(CapMgr_SetCaptureFrameSize(i, {8, 6}));
                        },
                        noRecord("false", "SetCaptureFrameSize... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_CaptureScreenBuffer",
                        [](unsigned int i) { return text(CapMgr_CaptureScreenBuffer(i)); },
                        noObject("no frame", {framePath(0, " pCapture == NULL")})},
        IndexedFunction{"CapMgr_LockScreenBuffer",
                        [](unsigned int i) { return text(CapMgr_LockScreenBuffer(i)); },
                        noObject("no frame")},
        IndexedFunction{"CapMgr_UnlockScreenBuffer",
                        [](unsigned int i) { return std::to_string(CapMgr_UnlockScreenBuffer(i)); },
                        noObject("0")},
        IndexedFunction{
            "CapMgr_UpdateScreenBuffer",
            noResult([](unsigned int i) { CapMgr_UpdateScreenBuffer(i, nullptr, UINT_MAX); }),
            noObject("", {error("CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL")})},
        IndexedFunction{"CapMgr_SetMaxFrameRate",
                        [](unsigned int i) { return text(CapMgr_SetMaxFrameRate(i, 0)); },
                        noRecord("false",
                                 "CapMgr_SetMaxFrameRate... param dwCaptureIndex "
                                 "invalid!")},
        IndexedFunction{"CapMgr_UpdateFrameRate",
                        [](unsigned int i) { return text(CapMgr_UpdateFrameRate(i, 0)); },
                        noRecord("false",
                                 "CapMgr_UpdateFrameRate... param dwCaptureIndex "
                                 "invalid!")},
        IndexedFunction{"CapMgr_GetMaxFrameRate",
                        [](unsigned int i) { return std::to_string(CapMgr_GetMaxFrameRate(i)); },
                        noRecord("0", "CapMgr_GetMaxFrameRate... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_GetCurFrameRate",
                        [](unsigned int i) { return std::to_string(CapMgr_GetCurFrameRate(i)); },
                        noRecord("0", "CapMgr_GetCurFrameRate... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_GetCapFailResult",
                        [](unsigned int i) { return std::to_string(CapMgr_GetCapFailResult(i)); },
                        noRecord("0", "CapMgr_GetCapFailResult... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_SetExcludeWnd", noResult([](unsigned int i) {
                            CapMgr_SetExcludeWnd(i, nullptr, CAP_EXC_WND_ADD);
                        }),
                        noRecord("", "SetExcludeWnd... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_SetSharedAppWnd", noResult([](unsigned int i) {
                            CapMgr_SetSharedAppWnd(i, 0, CAP_APP_WND_SET);
                        }),
                        noRecord("", "SetSharedAppWnd... param dwCaptureIndex invalid!")},
        IndexedFunction{"CapMgr_SetAppShareBgColor", noResult([](unsigned int i) {
                            CapMgr_SetAppShareBgColor(i, UINT_MAX, 0, 0);
                        }),
                        noObject("")}),
    nameOfFunction);

INSTANTIATE_TEST_SUITE_P(
    OfARecord, HostileIndex,
    testing::Values(
        IndexedFunction{"CMonitorManager_GetCaptureMgr",
                        [](unsigned int i) { return nullOrNot(manager().GetCaptureMgr(i)); },
                        {"null", {unknownRecord()}}},
        IndexedFunction{"CMonitorManager_GetCaptureInstance",
                        [](unsigned int i) { return nullOrNot(manager().GetCaptureInstance(i)); },
                        noObject("null")},
        IndexedFunction{"CMonitorManager_DeleteCaptureInstance",
                        noResult([](unsigned int i) { manager().DeleteCaptureInstance(i); }),
                        {"", {unknownRecord()}}},
        IndexedFunction{"CMonitorManager_AddCaptureInstance",
                        [](unsigned int i) { return text(add(i, 0)); },
                        noRecord("false",
                                 "CMonitorManager::AddCaptureInstance()... GetCaptureMgr "
                                 "failed!")},
        IndexedFunction{
            "CMonitorManager_IsPresetExcludeWnd",
            [](unsigned int i) { return text(manager().IsPresetExcludeWnd(i, nullptr)); },
            noRecord("false",
                     "CMonitorManager::IsPresetExcludeWnd... param dwCaptureIndex "
                     "invalid")},
        IndexedFunction{
            "CMonitorManager_PushPresetExcludeWnd",
            noResult([](unsigned int i) { manager().PushPresetExcludeWnd(i, nullptr); }),
            noRecord("", "CMonitorManager::PushPresetExcludeWnd... param dwCaptureIndex invalid")},
        IndexedFunction{
            "CMonitorManager_ErasePresetExcludeWnd",
            noResult([](unsigned int i) { manager().ErasePresetExcludeWnd(i, nullptr); }),
            noRecord("", "CMonitorManager::ErasePresetExcludeWnd... param dwCaptureIndex invalid")},
        IndexedFunction{"CMonitorManager_ClearPresetExcludeWnds",
                        noResult([](unsigned int i) { manager().ClearPresetExcludeWnds(i); }),
                        noRecord("",
                                 "CMonitorManager::ClearPresetExcludeWnds... param "
                                 "dwCaptureIndex invalid")}),
    nameOfFunction);

std::string described(unsigned int monitor) {
    CAP_MONITOR_INFO info;
    std::memset(&info, 0xFF, sizeof info);
    const bool found = CapMgr_GetMonitorInfo(monitor, &info);
    const CAP_MONITOR_INFO zero{};
    return text(found) + (std::memcmp(&info, &zero, sizeof info) == 0 ? ", all zero" : "");
}

std::string screenOf(unsigned int monitor) {
    double scale = -1;
    CGRect frame{};
    CapMgr_MonitorScreenInfo(monitor, &scale, &frame);
    return std::to_string(static_cast<int>(scale)) + ", " +
           std::to_string(static_cast<int>(frame.size.width));
}

std::string thumbnailOf(unsigned int monitor) {
    uint32_t pixel = 0;
    return text(manager().GetScreenThumbnail(monitor, 1, 1, &pixel));
}

const Message kNoMonitorToAdd =
    error("CMonitorManager::AddCaptureInstance()... Invalid monitor index!");

INSTANTIATE_TEST_SUITE_P(
    OfAMonitor, HostileIndex,
    testing::Values(
        IndexedFunction{"CapMgr_GetMonitorInfo", described,
                        refusal("false, all zero", "GetMonitorInformation()... Invalid dwIndex!")},
        // Of the main screen.
        IndexedFunction{"CapMgr_MonitorScreenInfo", screenOf, {"1, 161", {}}},
        IndexedFunction{
            "CapMgr_StartCapture",
            [](unsigned int i) { return std::to_string(start(CapMgr_GenerateCaptureIndex(), i)); },
            {"1", {kNoMonitorToAdd}}},
        IndexedFunction{"CMonitorManager_GetMonitor",
                        [](unsigned int i) { return nullOrNot(manager().GetMonitor(i)); },
                        {"null", {}}},
        IndexedFunction{"CMonitorManager_AddCaptureInstance",
                        [](unsigned int i) { return text(add(CapMgr_GenerateCaptureIndex(), i)); },
                        {"false", {kNoMonitorToAdd}}},
        IndexedFunction{"CMonitorManager_GetScreenThumbnail", thumbnailOf,
                        refusal("false",
                                "CMonitorManager::GetScreenThumbnail... invalid param "
                                "dwMonitorIndex!")}),
    nameOfFunction);

}  // namespace
