#include "streaming.h"

#include <chrono>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace qor::scaling {
namespace {

// From here on a block leaves no room in the last-level cache for what the machine does next, and
// writing around the caches is cheaper, its reader's misses counted in (see bench/results).
constexpr size_t kStreamedBytes = size_t{16} << 20;

// Large blocks are frames, and between one and the next the machine does other things, so that
// neither is in the caches any more: then writing around them is cheaper from here on. After a
// pause that is shorter they may be.
constexpr size_t kStreamedAfterPauseBytes = size_t{1} << 20;
constexpr std::chrono::milliseconds kPause{4};

/* Whether this thread has written no large block for a while, apart from the one that is next. */
bool isAfterPause() {
    using Clock = std::chrono::steady_clock;
    thread_local Clock::time_point last{};
    const auto now = Clock::now();
    const bool isPause = now - last >= kPause;
    last = now;
    return isPause;
}

}  // namespace

bool belongsAroundCaches(size_t bytes) {
    return bytes >= kStreamedBytes || (bytes >= kStreamedAfterPauseBytes && isAfterPause());
}

void endStreaming() {
#if defined(__x86_64__)
    _mm_sfence();
#endif
}

}  // namespace qor::scaling
