/* What a soak demands; when it does not hold, the run is over. */
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

struct Broken : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, std::string_view demand) {
    if (!holds)
        throw Broken("not so: " + std::string(demand));
}

/* Everything is slower in builds that watch themselves. */
#ifdef SOAK_IS_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
