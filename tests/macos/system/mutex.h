// macOS's pthread_mutex_t: 64 bytes whose first long says whether it lives.
//
// Threads: any. Results are macOS's error numbers.
#ifndef MUTEX_H
#define MUTEX_H

#include <pthread.h>

namespace system_library {

struct Mutex {
    long signature;
    pthread_mutex_t native;  // made when the signature says so
};

static_assert(sizeof(Mutex) <= 64);

int lockMutex(Mutex* mutex);
int unlockMutex(Mutex* mutex);

}  // namespace system_library

#endif
