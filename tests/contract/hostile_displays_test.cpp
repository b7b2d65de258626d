// Hostile values given to the exported functions of displays and to the manager.
#include <gtest/gtest.h>

#include "ScreenInfo.h"
#include "hostile_call.h"

namespace {

using Call = HostileCall<>;
using Function = HostileFunction<>;

const Answer kNoSecondary =
    refusal("0", "CapMgr_GetPrimaryMonitorIndex().. fail, return default value 0!");

// Displays.

struct Size {
    int width;
    int height;
};

constexpr std::initializer_list<Size> kSizes = {
    {INT_MIN, INT_MIN}, {INT_MIN, INT_MAX}, {-1, -1},       {1, 0},
    {0, INT_MIN},       {INT_MAX, 1},       {65536, 65536}, {INT_MAX, INT_MAX}};

// Whether a virtual monitor of this size is listed as it was given.
std::string listed(const Size& size) {
    CapMgr_GenerateMonitor(size.width, size.height, UINT_MAX);
    CAP_MONITOR_INFO info{};
    CapMgr_GetMonitorInfo(CapMgr_GetMonitorCount() - 1, &info);
    return text(info.rcMonitor.right == size.width && info.rcMonitor.bottom == size.height);
}

std::string startOnVirtual(const Size& size) {
    CapMgr_GenerateMonitor(size.width, size.height, 0);
    return std::to_string(CapMgr_StartCapture(CapMgr_GenerateCaptureIndex(), 1,
                                              CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                              PARALLEL_CAPTURE_MODE));
}

// Into memory that is large enough for none of the sizes. A pixel has 4 bytes: of some widths the
// bytes of a row are 0 or few in 32 bits.
std::string thumbnail(const Size& size) {
    uint32_t pixel = 0;
    return text(manager().GetScreenThumbnail(0, size.width, size.height, &pixel));
}

INSTANTIATE_TEST_SUITE_P(
    Displays, HostileArguments,
    testing::Values(
        Function{"CapMgr_GenerateMonitor",
                 joined(each<Call>(kSizes, listed, kTrue),
                        each<Call>(kSizes, startOnVirtual,
                                   refusal("1",
                                           "CMonitorManager::AddCaptureInstance()... "
                                           "UpdateMonitors... Invalid monitor index!")))},
        Function{"CMonitorManager_CreateMonitor",
                 each<Call>(kSizes, noResult([](const Size& size) {
                                manager().CreateMonitor(size.width, size.height, UINT_MAX);
                            }),
                            kNothing)},
        Function{"CapMgr_GetMonitorInfo",
                 each<Call>(
                     {0U, 1U, UINT_MAX},
                     [](unsigned int i) { return text(CapMgr_GetMonitorInfo(i, nullptr)); },
                     refusal("false", "GetMonitorInformation()... pMonitorInfo is NULL!"))},
        Function{"CapMgr_MonitorScreenInfo",
                 each<Call>({0U, 1U, UINT_MAX}, noResult([](unsigned int i) {
                                CapMgr_MonitorScreenInfo(i, nullptr, nullptr);
                            }),
                            kNothing)},
        Function{"ScreenInfo", each<Call>({0U, HostileTest::kSecond, UINT_MAX},
                                          noResult([](unsigned int display) {
                                              ScreenInfo(display, nullptr, nullptr);
                                          }),
                                          kNothing)},
        Function{"CMonitorManager_GetScreenThumbnail",
                 joined(each<Call, Size>({{0, 0}, {0, -1}, {INT_MIN, 0}}, thumbnail,
                                         refusal("false",
                                                 "CMonitorManager::GetScreenThumbnail... invalid "
                                                 "param dwWidth or dwHeight!")),
                        each<Call, Size>({{-1, -1},
                                          {1, -1},
                                          {-1, 1},
                                          {INT_MIN, INT_MIN},
                                          {0x40000000, 1},
                                          {0x40000001, 1},
                                          {INT_MAX, INT_MAX}},
                                         thumbnail,
                                         refusal("false",
                                                 "CMonitorManager::GetScreenThumbnail... "
                                                 "CGBitmapContextCreate failed!")))}),
    nameOfFunction);

INSTANTIATE_TEST_SUITE_P(
    DisplaysWithoutArguments, HostileArguments,
    testing::Values(
        Function{
            "CapMgr_GetMonitorCount",
            {{[] { return std::to_string(CapMgr_GetMonitorCount()); }, Answer{"1"}, Answer{"1"}}}},
        Function{"CapMgr_GetPrimaryMonitorIndex",
                 {{[] { return std::to_string(CapMgr_GetPrimaryMonitorIndex()); }, kZero, kZero}}},
        Function{"CapMgr_GetSecondaryMonitorIndex",
                 {{[] { return std::to_string(CapMgr_GetSecondaryMonitorIndex()); }, kNoSecondary,
                   kNoSecondary}}},
        Function{"CapMgr_DestroyMonitor", {{noResult(&CapMgr_DestroyMonitor), kNothing, kNothing}}},
        Function{"CapMgr_UpdateMonitor", {{noResult(&CapMgr_UpdateMonitor), kNothing, kNothing}}},
        Function{"CapMgr_OnMonitorInfoChange",
                 {{noResult(&CapMgr_OnMonitorInfoChange), kNothing, kNothing}}},
        Function{"CMonitorManager_FreeMonitors",
                 {{noResult([] { manager().FreeMonitors(); }), kNothing, kNothing}}}),
    nameOfFunction);

// The manager's records.

template <typename Member>
auto ofManager(Member member) {
    return noResult([member](uintptr_t number) { (manager().*member)(0, window(number)); });
}

INSTANTIATE_TEST_SUITE_P(
    Records, HostileArguments,
    testing::Values(
        Function{
            "CMonitorManager_PushPresetExcludeWnd",
            each<Call, uintptr_t>({0, UINTPTR_MAX},
                                  ofManager(&CMonitorManager::PushPresetExcludeWnd), kNothing)},
        Function{
            "CMonitorManager_ErasePresetExcludeWnd",
            each<Call, uintptr_t>({0, UINTPTR_MAX},
                                  ofManager(&CMonitorManager::ErasePresetExcludeWnd), kNothing)},
        Function{"CMonitorManager_IsPresetExcludeWnd",
                 each<Call, uintptr_t>(
                     {0, UINTPTR_MAX},
                     [](uintptr_t number) {
                         return text(manager().IsPresetExcludeWnd(0, window(number)));
                     },
                     kFalse)},
        Function{"CMonitorManager_GetCaptureIndexFromInstance",
                 each<Call, uintptr_t>(
                     {0, 1, UINTPTR_MAX},
                     [](uintptr_t object) {
                         return std::to_string(manager().GetCaptureIndexFromInstance(
                             static_cast<const CCaptureBase*>(window(object))));
                     },
                     refusal("4294967295",
                             "CMonitorManager::GetCaptureIndexFromInstance... "
                             "Get capture index failed!"))}),
    nameOfFunction);

}  // namespace
