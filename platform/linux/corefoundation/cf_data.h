/* Data objects that lend bytes which something else owns; <CoreFoundation/CFData.h> is what callers
 * see. */
#pragma once

#include <CoreFoundation/CFData.h>

#include <cstddef>
#include <memory>
#include <utility>

#include "corefoundation/object.h"

struct __CFData final : qor::corefoundation::Object {
    __CFData(std::shared_ptr<const std::byte> sharedBytes, std::size_t byteCount) noexcept
        : bytes(std::move(sharedBytes)), length(byteCount) {}

    const std::shared_ptr<const std::byte> bytes;  // never written while the object lives
    const std::size_t length;
};
