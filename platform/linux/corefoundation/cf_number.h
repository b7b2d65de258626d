/* Making numbers and truth values; <CoreFoundation/CFNumber.h> is what callers see. */
#pragma once

#include <CoreFoundation/CFNumber.h>

#include <cstdint>
#include <variant>

#include "corefoundation/object.h"

struct __CFBoolean final : qor::corefoundation::Object {
    explicit __CFBoolean(bool isTrue) noexcept : Object(Lifetime::process), value(isTrue) {}

    const bool value;
};

struct __CFNumber final : qor::corefoundation::Object {
    explicit __CFNumber(std::int64_t whole) noexcept : value(whole) {}
    explicit __CFNumber(double real) noexcept : value(real) {}

    const std::variant<std::int64_t, double> value;
};

namespace qor::corefoundation {

using NumberReference = Reference<const __CFNumber>;

/* Null if memory is short. */
inline NumberReference createNumber(std::int64_t whole) noexcept {
    return create<const __CFNumber>(whole);
}
inline NumberReference createNumber(double real) noexcept {
    return create<const __CFNumber>(real);
}

}  // namespace qor::corefoundation
