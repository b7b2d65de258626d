#include "window_info.h"

static std::optional<std::string> textUnder(CFDictionaryRef info, CFStringRef key) {
    const auto* string = static_cast<CFStringRef>(CFDictionaryGetValue(info, key));
    std::vector<char> buffer(20'000);
    if (string == nullptr)
        return std::nullopt;
    EXPECT_TRUE(CFStringGetCString(string, buffer.data(), static_cast<CFIndex>(buffer.size()),
                                   kCFStringEncodingUTF8));
    return buffer.data();
}

WindowInfo infoFrom(CFDictionaryRef info) {
    WindowInfo window{.number = numberUnder<CGWindowID>(info, kCGWindowNumber, kCFNumberSInt32Type),
                      .layer = numberUnder<int>(info, kCGWindowLayer, kCFNumberIntType),
                      .alpha = numberUnder<double>(info, kCGWindowAlpha, kCFNumberCGFloatType),
                      .processId = numberUnder<int>(info, kCGWindowOwnerPID, kCFNumberIntType),
                      .owner = textUnder(info, kCGWindowOwnerName),
                      .title = textUnder(info, kCGWindowName)};
    EXPECT_TRUE(CGRectMakeWithDictionaryRepresentation(
        static_cast<CFDictionaryRef>(CFDictionaryGetValue(info, kCGWindowBounds)), &window.bounds));
    return window;
}

CFArrayRef copyInfos() {
    return CGWindowListCopyWindowInfo(kCGWindowListOptionOnScreenOnly, kCGNullWindowID);
}

std::vector<WindowInfo> windowInfos() {
    const Owned<const __CFArray> list(copyInfos());
    if (list == nullptr) {
        ADD_FAILURE() << "there is no list of windows";
        return {};
    }
    std::vector<WindowInfo> infos;
    for (CFIndex i = 0; i < CFArrayGetCount(list.get()); ++i)
        infos.push_back(
            infoFrom(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(list.get(), i))));
    return infos;
}

Windows numbersOf(const std::vector<WindowInfo>& infos) {
    Windows numbers;
    for (const WindowInfo& info : infos)
        numbers.push_back(info.number);
    return numbers;
}

WindowInfo infoOf(CGWindowID window) {
    for (const WindowInfo& info : windowInfos()) {
        if (info.number == window)
            return info;
    }
    ADD_FAILURE() << "window " << window << " is not told of";
    return {};
}
