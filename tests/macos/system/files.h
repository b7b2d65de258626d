// What files opened by path and files opened below a directory share.
//
// Threads: any.
#ifndef FILES_H
#define FILES_H

#include <cstdarg>

namespace system_library {

// macOS's open flags as this system's; -1 and ENOTSUP for a flag that it has not.
int nativeOpenFlags(int macFlags);

// The mode that follows macOS's open flags when they create a file.
unsigned creationMode(int macFlags, va_list arguments);

}  // namespace system_library

#endif
