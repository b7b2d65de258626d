#include "corefoundation/cf_string.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <map>
#include <mutex>

namespace {

/* The objects behind CFSTR. Never destroyed: code that runs at exit may still use a literal. */
class Literals {
  public:
    static Literals& instance() {
        static Literals& literals = *new Literals;
        return literals;
    }

    CFStringRef get(const char* text) {
        const std::lock_guard lock(mutex_);
        const auto found = literals_.find(text);
        if (found != literals_.end())
            return &found->second;
        return &literals_.try_emplace(text, text, __CFString::Lifetime::process).first->second;
    }

  private:
    std::mutex mutex_;
    std::map<std::string, __CFString, std::less<>> literals_;
};

unsigned char foldAscii(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte - 'A' + 'a') : byte;
}

unsigned char sameByte(char character) {
    return static_cast<unsigned char>(character);
}

}  // namespace

CFStringRef __CFStringMakeConstantString(const char* text) {
    try {
        return Literals::instance().get(text);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    if (bufferSize <= 0)
        return false;
    buffer[0] = '\0';
    if (encoding != kCFStringEncodingUTF8)
        return false;
    const std::size_t needed = string->text.size() + 1;
    if (needed > static_cast<std::size_t>(bufferSize))
        return false;
    std::memcpy(buffer, string->text.c_str(), needed);
    return true;
}

CFComparisonResult CFStringCompare(CFStringRef string1, CFStringRef string2,
                                   CFStringCompareFlags options) {
    // A literal is null where there was no memory for it: it is no other's equal.
    if (string1 == nullptr || string2 == nullptr)
        return string1 == nullptr ? kCFCompareLessThan : kCFCompareGreaterThan;
    const auto key = (options & kCFCompareCaseInsensitive) != 0 ? foldAscii : sameByte;
    const auto order = std::lexicographical_compare_three_way(
        string1->text.begin(), string1->text.end(), string2->text.begin(), string2->text.end(),
        [key](char a, char b) { return key(a) <=> key(b); });
    if (std::is_lt(order))
        return kCFCompareLessThan;
    return std::is_gt(order) ? kCFCompareGreaterThan : kCFCompareEqualTo;
}
