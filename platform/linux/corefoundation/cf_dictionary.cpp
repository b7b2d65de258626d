#include "corefoundation/cf_dictionary.h"

#include <new>

namespace {

using qor::corefoundation::Object;
using Entry = __CFDictionary::Entry;

/* Throws std::bad_alloc for a key that is null: a literal for which there was no memory. */
Entry keptEntry(CFStringRef key, const Object* value) {
    if (key == nullptr)
        throw std::bad_alloc();
    key->retain();
    value->retain();
    return {qor::corefoundation::StringReference(key),
            qor::corefoundation::Reference<const Object>(value)};
}

std::vector<Entry> onlyEntry(CFStringRef key, CFTypeRef value) {
    std::vector<Entry> entries(1);  // first, as it may run out of memory
    entries.front() = keptEntry(key, static_cast<const Object*>(value));
    return entries;
}

}  // namespace

__CFDictionary::__CFDictionary(CFStringRef key, CFTypeRef value) : entries(onlyEntry(key, value)) {}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto wanted = static_cast<CFStringRef>(key);
    for (const auto& entry : dictionary->entries) {
        if (CFStringCompare(entry.key.get(), wanted, 0) == kCFCompareEqualTo)
            return entry.value.get();
    }
    return nullptr;
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
    for (const auto& entry : dictionary->entries)
        applier(entry.key.get(), entry.value.get(), context);
}

namespace qor::corefoundation {

void DictionaryEntries::add(CFStringRef key, Reference<const Object> value) noexcept {
    if (key == nullptr || value == nullptr) {
        isComplete_ = false;
        return;
    }
    try {
        entries_.push_back(keptEntry(key, value.get()));
    } catch (const std::bad_alloc&) {
        isComplete_ = false;
    }
}

Reference<const __CFDictionary> DictionaryEntries::createDictionary() noexcept {
    return isComplete_ ? create<const __CFDictionary>(std::move(entries_)) : nullptr;
}

}  // namespace qor::corefoundation
