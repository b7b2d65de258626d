/* Making dictionaries; <CoreFoundation/CFDictionary.h> is what callers see. */
#pragma once

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

#include <vector>

#include "corefoundation/object.h"

struct __CFDictionary final : qor::corefoundation::Object {
    __CFDictionary() = default;

    /* One pair; the dictionary keeps a reference to both. */
    __CFDictionary(CFStringRef key, CFTypeRef value) : entries{{key, value}} {
        CFRetain(key);
        CFRetain(value);
    }

    ~__CFDictionary() override;

    struct Entry {
        CFStringRef key;
        CFTypeRef value;
    };
    const std::vector<Entry> entries = {};  // few, so they are searched in order
};
