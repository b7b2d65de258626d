// Stands in front of the bounded memory functions, memset_s, memcpy_s and strncpy_s, and of
// operator new and delete: makes them fail on request, and counts what is in use.
#ifndef CONTRACT_BOUNDED_MEMORY_FAULTS_H
#define CONTRACT_BOUNDED_MEMORY_FAULTS_H

#include <cstddef>

namespace memory_faults {

void reset();  // nothing fails

// Of the bounded calls from now on, times ones after skip others return code and do nothing.
constexpr size_t kAlways = static_cast<size_t>(-1);
void failBoundedCalls(int code, size_t skip = 0, size_t times = kAlways);

// Of the byte arrays of exactly size bytes allocated from now on, the one after skip others fails.
void failAllocation(size_t size, size_t skip = 0);

// Whether that allocation was asked for, and failed.
bool allocationFailed();

// How many of the skipped ones were freed since.
size_t skippedOnesFreed();

// How many of those held nothing but zeros by then.
size_t skippedOnesCleared();

// The next allocation of a single object of exactly size bytes, a vector's storage among them,
// fails.
void failSingleAllocation(size_t size);

// The blocks that were allocated by operator new and are not freed.
size_t blocksInUse();

}  // namespace memory_faults

#endif
