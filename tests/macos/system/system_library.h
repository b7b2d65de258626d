// Stands in for the system library of macOS (libSystem) where a Mach-O image runs on Linux: the C
// library of this system where both agree as far as our programs can tell, an adapter where they do
// not. What belongs to the dynamic loader (dlopen, dlsym, thread-local variables, lazy binding) is
// the loader's own.
//
// Threads: any, once the images are loaded.
#ifndef SYSTEM_LIBRARY_H
#define SYSTEM_LIBRARY_H

#include <string_view>

namespace system_library {

// The address of a function or variable by its name in a symbol table ("_malloc", with the leading
// underscore); null when the stand-in lacks it. The same address for the same name, always.
void* find(std::string_view symbol);

}  // namespace system_library

#endif
