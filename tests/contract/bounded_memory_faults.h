// Stands in front of the bounded memory functions, memset_s, memcpy_s and strncpy_s, and of the
// allocation of byte arrays, and makes them fail on request.
#ifndef CONTRACT_BOUNDED_MEMORY_FAULTS_H
#define CONTRACT_BOUNDED_MEMORY_FAULTS_H

#include <cstddef>

namespace memory_faults {

void reset();  // nothing fails

// From now on every bounded call returns code and does nothing.
void failBoundedCalls(int code);

// Of the byte arrays of exactly size bytes allocated from now on, the one after skip others fails.
void failAllocation(size_t size, size_t skip = 0);

// Whether that allocation was asked for, and failed.
bool allocationFailed();

}  // namespace memory_faults

#endif
