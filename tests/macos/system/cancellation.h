// Cancellation points. See thread.h for how a thread ends.
//
// Threads: each function is about the calling thread.
#ifndef CANCELLATION_H
#define CANCELLATION_H

#include <poll.h>

#include "thread.h"

namespace system_library {

inline void* const kCanceled = reinterpret_cast<void*>(1);

// Under the lock.
bool cancellationDue(const Thread& thread);

// Runs the clean-up handlers, newest first, and ends the thread: no destructor of its frames runs.
[[noreturn]] void endThread(Thread& self, void* result);

// Ends the calling thread when that was asked for and is enabled.
void testCancellation();

// Waits until the descriptor is ready for the events or can no longer block; a cancellation point.
// Does not wait for one that is never busy, as a file.
void awaitDescriptor(int descriptor, short events);

}  // namespace system_library

#endif
