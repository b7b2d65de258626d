/* How the attempt to read an area of a drawable went. */
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace qor::x11 {

enum class GrabStatus {
    done,
    mismatch,     // the area is not all inside the drawable (any more), or that is not there
    unavailable,  // this way of reading does not work; reason says why
    noAnswer,     // the server is busy, or gone
};

struct GrabResult {
    GrabStatus status = GrabStatus::noAnswer;
    // Rows in the server's format, if done. Nobody else writes to them.
    std::shared_ptr<std::byte> bytes = nullptr;
    std::string reason = {};
};

}  // namespace qor::x11
