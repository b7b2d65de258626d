// dlopen and its kin, as macOS has them. Every image is loaded before the program runs, so that
// opening one is looking it up by name. Any thread; errors are kept per thread.
#ifndef DYNAMIC_LOOKUP_H
#define DYNAMIC_LOOKUP_H

#include <dlfcn.h>

#include "image_list.h"
#include "symbols.h"

namespace macho {

// What the functions look in; both must live as long as the process.
void setLookupSource(const ImageList& images, const Symbols& symbols);

extern "C" {
// A handle, or null and an error. A null name is the whole process, as RTLD_DEFAULT is.
void* openImage(const char* name, int mode);
// 0; -1 and an error for what is no handle. Nothing is ever unloaded.
int closeImage(void* handle);
// `name` has no leading underscore. Null and an error when it is not found.
void* lookUpSymbol(void* handle, const char* name);
// The error since the last call, or null. Valid until this thread's next error.
const char* lookupError();
// Not zero when the address lies in an image, or in a library of this system. macOS lays the record
// out as this system does.
int lookUpAddress(const void* address, Dl_info* info);
}

}  // namespace macho

#endif
