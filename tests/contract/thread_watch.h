// Stands in front of pthread_create, pthread_cancel and the thread attributes: counts the threads
// that live, and makes the creation fail on request.
#ifndef CONTRACT_THREAD_WATCH_H
#define CONTRACT_THREAD_WATCH_H

#include <cstddef>

namespace thread_watch {

void reset();  // nothing fails, nothing counted but the threads that live

// The next creation fails with this code; the handle is then anyone's.
void failNextCreation(int code);

// The next thread does not begin before letGo().
void holdNext();
void letGo();

size_t created();
size_t cancelled();
bool lastWasDetached();
int lastScopeAsked();  // as given to pthread_attr_setscope

// Whether the attributes that were last given a scope have been destroyed since.
bool attributesDestroyed();

// Waits until no thread that was created here lives; false after 10 s.
bool awaitNone();

}  // namespace thread_watch

#endif
