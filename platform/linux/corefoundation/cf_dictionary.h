/* Making dictionaries; <CoreFoundation/CFDictionary.h> is what callers see. */
#pragma once

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

#include <utility>
#include <vector>

#include "corefoundation/cf_string.h"
#include "corefoundation/object.h"

struct __CFDictionary final : qor::corefoundation::Object {
    struct Entry {
        qor::corefoundation::StringReference key;
        qor::corefoundation::Reference<const Object> value;
    };

    __CFDictionary() = default;

    /* Takes the references in the entries over. */
    // cppcheck-suppress passedByValue ; moved from
    explicit __CFDictionary(std::vector<Entry> given) noexcept : entries(std::move(given)) {}

    /* One pair; the dictionary keeps a reference to both. */
    __CFDictionary(CFStringRef key, CFTypeRef value);

    const std::vector<Entry> entries = {};  // few, so they are searched in order
};

namespace qor::corefoundation {

/* Collects the pairs of a dictionary. */
class DictionaryEntries {
  public:
    /* A null key or value means that memory was short; then there will be no dictionary. */
    void add(CFStringRef key, Reference<const Object> value) noexcept;

    /* Once only. Null if memory was short, now or before. */
    Reference<const __CFDictionary> createDictionary() noexcept;

  private:
    std::vector<__CFDictionary::Entry> entries_;
    bool isComplete_ = true;
};

}  // namespace qor::corefoundation
