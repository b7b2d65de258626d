#include "corefoundation/cf_dictionary.h"

__CFDictionary::~__CFDictionary() {
    for (const Entry& entry : entries) {
        CFRelease(entry.key);
        CFRelease(entry.value);
    }
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto wanted = static_cast<CFStringRef>(key);
    for (const auto& entry : dictionary->entries) {
        if (CFStringCompare(entry.key, wanted, 0) == kCFCompareEqualTo)
            return entry.value;
    }
    return nullptr;
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
    for (const auto& entry : dictionary->entries)
        applier(entry.key, entry.value, context);
}
