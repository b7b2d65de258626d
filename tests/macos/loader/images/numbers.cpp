#include "numbers.h"

int systemVariable = 31;

int systemNumber() {
    return 30;
}

#ifdef FOR_LINKING_ONLY
const char* gnu_get_libc_version() {
    return "";
}
#endif
