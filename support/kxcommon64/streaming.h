// When large blocks are written around the caches.
#ifndef QOR_CONF_KXCOMMON64_STREAMING_H
#define QOR_CONF_KXCOMMON64_STREAMING_H

#include <cstddef>

namespace qor::scaling {

// What the processor moves between its caches and memory.
inline constexpr size_t kLineBytes = 64;

// Whether a block of so many bytes that this thread is about to write is better written around the
// caches. Depends on when this was last asked for a large one.
bool belongsAroundCaches(size_t bytes);

// Streamed stores are not ordered with those of a lock that is let go: to be called after them.
void endStreaming();

}  // namespace qor::scaling

#endif
