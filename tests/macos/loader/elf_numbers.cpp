// Stands in for a library of the system's, from a library of this one.
#include <gnu/libc-version.h>

extern "C" {

__attribute__((visibility("default"))) extern int systemVariable;
__attribute__((visibility("default"))) int systemNumber();

int systemVariable = 61;

// Needs the C library, so that a search through what this one needs would go on there.
int systemNumber() {
    return gnu_get_libc_version() == nullptr ? 0 : 60;
}
}
