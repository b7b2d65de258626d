#ifndef NUMBERS_H
#define NUMBERS_H

// Of a library of the system's that there is not, Numbers.framework.
extern "C" __attribute__((visibility("default"))) int systemNumber();
extern "C" __attribute__((visibility("default"))) int systemVariable;
// A function of this system's C library, which macOS's has not: no stand-in defines it.
extern "C" __attribute__((visibility("default"), weak_import)) const char* gnu_get_libc_version();

#endif
