#include <CoreFoundation/CFBundle.h>

#include <cstdlib>
#include <string_view>

#include "corefoundation/cf_string.h"

namespace {

/* The user's locale without encoding and modifier ("de_AT" of "de_AT.UTF-8@euro"); empty if none
 * is set. The order is the one in which the C library looks up the language of messages. */
std::string_view userLocale() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0')
            continue;
        const std::string_view locale = value;
        return locale.substr(0, locale.find_first_of(".@"));
    }
    return {};
}

std::string_view language(std::string_view locale) {
    return locale.substr(0, locale.find_first_of("_-"));
}

CFStringRef localizationAt(CFArrayRef localizations, CFIndex index) {
    return static_cast<CFStringRef>(CFArrayGetValueAtIndex(localizations, index));
}

template <typename Matches>
CFStringRef findLocalization(CFArrayRef localizations, Matches matches) {
    for (CFIndex i = 0; i < CFArrayGetCount(localizations); ++i) {
        const CFStringRef candidate = localizationAt(localizations, i);
        if (matches(std::string_view(candidate->text)))
            return candidate;
    }
    return nullptr;
}

CFStringRef preferredLocalization(CFArrayRef localizations) {
    const std::string_view wanted = userLocale();
    const CFStringRef exact =
        findLocalization(localizations, [&](std::string_view name) { return name == wanted; });
    if (exact != nullptr)
        return exact;
    const CFStringRef sameLanguage = findLocalization(
        localizations, [&](std::string_view name) { return language(name) == language(wanted); });
    return sameLanguage != nullptr ? sameLanguage : localizationAt(localizations, 0);
}

}  // namespace

CFArrayRef CFBundleCopyPreferredLocalizationsFromArray(CFArrayRef localizations) {
    const CFMutableArrayRef preferred =
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
    if (preferred != nullptr && CFArrayGetCount(localizations) > 0)
        CFArrayAppendValue(preferred, preferredLocalization(localizations));
    return preferred;
}
