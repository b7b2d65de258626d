/* What the tests of window descriptions share: one as plain values. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "window_test.h"

struct WindowInfo {
    CGWindowID number = 0;
    int layer = -1;
    double alpha = -1;
    int processId = -1;
    CGRect bounds = {};
    std::optional<std::string> owner = {};
    std::optional<std::string> title = {};
};

/* The platform's own list, the caller's to release. */
CFArrayRef copyInfos();

/* A number in a description; a failure and 0 if there is none of the type. */
template <typename T>
T numberUnder(CFDictionaryRef info, CFStringRef key, CFNumberType type) {
    T value{};
    const auto* number = static_cast<CFNumberRef>(CFDictionaryGetValue(info, key));
    EXPECT_TRUE(number != nullptr && CFNumberGetValue(number, type, &value)) << text(key);
    return value;
}

WindowInfo infoFrom(CFDictionaryRef info);

/* Front to back. Fails the test if there is no list. */
std::vector<WindowInfo> windowInfos();

Windows numbersOf(const std::vector<WindowInfo>& infos);

/* Of a window; a failure, and none of its own, if it is not on screen. */
WindowInfo infoOf(CGWindowID window);
