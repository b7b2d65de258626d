// CoreFoundation as the script has it.
#include <algorithm>
#include <cstring>
#include <map>

#include "script.h"

using scripted::Invocation;
using scripted::Object;
using scripted::Output;
using scripted::Reference;
using scripted::Script;

namespace {

const void* retainValue(CFAllocatorRef, const void* value) {
    const std::lock_guard lock(Script::instance().mutex());
    Script::instance().objects().retain(value, "array");
    return value;
}

void releaseValue(CFAllocatorRef, const void* value) {
    const std::lock_guard lock(Script::instance().mutex());
    Script::instance().objects().release(value, "array");
}

unsigned char folded(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + ('a' - 'A')) : byte;
}

// The array's own value equal to the first preferred locale that is there; else its first value.
const void* preferredAmong(const std::vector<const void*>& locales, const Invocation& call) {
    for (const std::string& wanted : call.script().preferredLocales) {
        for (const void* locale : locales) {
            const auto* const name = call.use<__CFString>(locale);
            if (name != nullptr && name->text == wanted) {
                return locale;
            }
        }
    }
    return locales.front();
}

__CFArray* changeableArray(const Invocation& call, CFMutableArrayRef array) {
    auto* const used = call.use<__CFArray>(array);
    if (used != nullptr && !used->changeable) {
        call.objects().blame(std::string(call.function()) + " of an immutable array");
        return nullptr;
    }
    return used;
}

bool holdsIndex(const Invocation& call, const __CFArray& array, CFIndex index) {
    const bool inside = index >= 0 && static_cast<size_t>(index) < array.values.size();
    if (!inside) {
        call.objects().blame(std::string(call.function()) + " past the end of " + array.label());
    }
    return inside;
}

}  // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retainValue, releaseValue, nullptr, nullptr};

void __CFDictionary::dispose() {
    scripted::ObjectTable& objects = Script::instance().objects();
    for (const auto& [key, value] : pairs) {
        objects.release(key, "dictionary");
        objects.release(value, "dictionary");
    }
    pairs.clear();
}

__CFArray::__CFArray(std::vector<const void*> initial, const CFArrayCallBacks* held, bool isMutable)
    : Object("array"),
      values(std::move(initial)),
      callBacks(held == nullptr ? CFArrayCallBacks{} : *held),
      changeable(isMutable) {
    for (const void* value : values) {
        if (callBacks.retain != nullptr) {
            callBacks.retain(kCFAllocatorDefault, value);
        }
    }
}

void __CFArray::dispose() {
    for (const void* value : values) {
        if (callBacks.release != nullptr) {
            callBacks.release(kCFAllocatorDefault, value);
        }
    }
    values.clear();
}

CFTypeRef CFRetain(CFTypeRef object) {
    const Invocation call("CFRetain", Reference{object});
    call.objects().retain(object, call.function());
    return object;
}

void CFRelease(CFTypeRef object) {
    const Invocation call("CFRelease", Reference{object});
    call.objects().release(object, call.function());
}

CFStringRef __CFStringMakeConstantString(const char* text) {
    const Invocation call("CFSTR", text);
    static std::map<std::string, __CFString*>& literals = *new std::map<std::string, __CFString*>;
    __CFString*& literal = literals[text];
    if (literal == nullptr) {
        literal =
            call.objects().addConstant(std::make_unique<__CFString>(text), scripted::text(text));
    }
    return literal;
}

// What the buffer holds when the text does not fit is undefined: as before, or a cut text.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    const Invocation call("CFStringGetCString", Reference{string}, Output{buffer}, bufferSize,
                          encoding);
    const auto* const used = call.use<__CFString>(string);
    if (call.fails() || used == nullptr || encoding != kCFStringEncodingUTF8) {
        return 0;
    }
    const auto room = static_cast<size_t>(bufferSize);
    const bool fits = used->text.size() < room;
    if (fits || call.script().leavesCutText) {
        std::memcpy(buffer, used->text.c_str(), std::min(used->text.size() + 1, room));
    }
    return fits ? 1 : 0;
}

CFComparisonResult CFStringCompare(CFStringRef string1, CFStringRef string2,
                                   CFStringCompareFlags options) {
    const Invocation call("CFStringCompare", Reference{string1}, Reference{string2}, options);
    const auto* const first = call.use<__CFString>(string1);
    const auto* const second = call.use<__CFString>(string2);
    if (call.fails() || first == nullptr || second == nullptr) {
        return kCFCompareLessThan;
    }
    const bool insensitive = (options & kCFCompareCaseInsensitive) != 0;
    const bool equal = std::equal(
        first->text.begin(), first->text.end(), second->text.begin(), second->text.end(),
        [insensitive](char a, char b) { return insensitive ? folded(a) == folded(b) : a == b; });
    return equal ? kCFCompareEqualTo : kCFCompareGreaterThan;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks) {
    const Invocation call("CFArrayCreateMutable", capacity,
                          callBacks == &kCFTypeArrayCallBacks ? "objects" : "plain");
    return call.fails() ? nullptr
                        : call.make(std::make_unique<__CFArray>(std::vector<const void*>(),
                                                                callBacks, true));
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex capacity, CFArrayRef array) {
    const Invocation call("CFArrayCreateMutableCopy", capacity, Reference{array});
    const auto* const used = call.use<__CFArray>(array);
    return call.fails() || used == nullptr
               ? nullptr
               : call.make(std::make_unique<__CFArray>(used->values, &used->callBacks, true));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    const Invocation call("CFArrayGetCount", Reference{array});
    const auto* const used = call.use<__CFArray>(array);
    return call.fails() || used == nullptr ? 0 : static_cast<CFIndex>(used->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    const Invocation call("CFArrayGetValueAtIndex", Reference{array}, index);
    const auto* const used = call.use<__CFArray>(array);
    return call.fails() || used == nullptr || !holdsIndex(call, *used, index)
               ? nullptr
               : used->values[static_cast<size_t>(index)];
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    const Invocation call("CFArrayAppendValue", Reference{array}, Reference{value});
    auto* const used = changeableArray(call, array);
    if (call.fails() || used == nullptr) {
        return;
    }
    if (used->callBacks.retain != nullptr) {
        used->callBacks.retain(kCFAllocatorDefault, value);
    }
    used->values.push_back(value);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index) {
    const Invocation call("CFArrayRemoveValueAtIndex", Reference{array}, index);
    auto* const used = changeableArray(call, array);
    if (call.fails() || used == nullptr || !holdsIndex(call, *used, index)) {
        return;
    }
    if (used->callBacks.release != nullptr) {
        used->callBacks.release(kCFAllocatorDefault, used->values[static_cast<size_t>(index)]);
    }
    used->values.erase(used->values.begin() + index);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const Invocation call("CFDictionaryGetValue", Reference{dictionary}, Reference{key});
    const auto* const used = call.use<__CFDictionary>(dictionary);
    const auto* const wanted = call.use<__CFString>(key);
    if (call.fails() || used == nullptr || wanted == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(used->pairs.begin(), used->pairs.end(), [&](const auto& pair) {
        return pair.first->text == wanted->text;
    });
    return found == used->pairs.end() ? nullptr : found->second;
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
    const Invocation call("CFDictionaryApplyFunction", Reference{dictionary}, Reference{context});
    const auto* const used = call.use<__CFDictionary>(dictionary);
    if (call.fails() || used == nullptr) {
        return;
    }
    for (const auto& [key, value] : used->pairs) {
        applier(key, value, context);
    }
}

CFArrayRef CFBundleCopyPreferredLocalizationsFromArray(CFArrayRef localizations) {
    const Invocation call("CFBundleCopyPreferredLocalizationsFromArray", Reference{localizations});
    const auto* const used = call.use<__CFArray>(localizations);
    if (call.fails() || used == nullptr) {
        return nullptr;
    }
    std::vector<const void*> preferred;
    if (!used->values.empty() && !call.script().preferredLocales.empty()) {
        preferred.push_back(preferredAmong(used->values, call));
    }
    return call.make(
        std::make_unique<__CFArray>(std::move(preferred), &kCFTypeArrayCallBacks, false));
}

const uint8_t* CFDataGetBytePtr(CFDataRef data) {
    const Invocation call("CFDataGetBytePtr", Reference{data});
    const auto* const used = call.use<__CFData>(data);
    return call.fails() || used == nullptr ? nullptr : used->bytes->data();
}

CFIndex CFDataGetLength(CFDataRef data) {
    const Invocation call("CFDataGetLength", Reference{data});
    const auto* const used = call.use<__CFData>(data);
    return call.fails() || used == nullptr ? 0 : static_cast<CFIndex>(used->bytes->size());
}
