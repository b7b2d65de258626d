// How much a program allocates, by whatever way: operator new, malloc and its like.
#ifndef UNIT_ALLOCATIONS_H
#define UNIT_ALLOCATIONS_H

#include <cstddef>

// Of all threads, since the program began.
size_t allocationsSoFar();

// Whether those that ask the C library for an alignment are among them: ThreadSanitizer does not
// tell of these.
bool areAlignedOnesCounted();

#endif
