/* Making strings; <CoreFoundation/CFString.h> is what callers see. */
#pragma once

#include <CoreFoundation/CFString.h>

#include <string>
#include <string_view>

#include "corefoundation/object.h"

struct __CFString final : qor::corefoundation::Object {
    using Object::Lifetime;

    explicit __CFString(std::string_view utf8, Lifetime lifetime = Lifetime::counted)
        : Object(lifetime), text(utf8) {}

    const std::string text;  // UTF-8
};

namespace qor::corefoundation {

using StringReference = Reference<const __CFString>;

/* A string of UTF-8 text; null if memory is short. */
inline StringReference createString(std::string_view utf8) noexcept {
    return create<const __CFString>(utf8);
}

}  // namespace qor::corefoundation
