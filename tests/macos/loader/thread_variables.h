// Thread-local variables of the images. Each image has one block of them per thread, made and
// filled from the image when the thread first uses one, and freed when the thread ends, after the
// destructors that the code registered through __tlv_atexit (the newest first; in the main thread,
// at exit).
#ifndef THREAD_VARIABLES_H
#define THREAD_VARIABLES_H

#include "image.h"

namespace macho {

// Readies the image's descriptors. Call once per image, after its fixups and before its memory is
// protected or other threads run. Throws LoadError for descriptors that make no sense.
void adoptThreadVariables(Image& image);

// What descriptors hold before that: never to be called. Ends the process with a message.
extern "C" void* machoThreadVariableTooEarly(void* descriptor);

// macOS's __tlv_atexit. Any thread.
extern "C" void machoAtThreadExit(void (*destructor)(void*), void* object);

}  // namespace macho

#endif
