#include "greeting.h"

int greetingNumber() {
    return 3;
}

#ifdef WITH_SPARE_NUMBER
int spareNumber() {
    return 4;
}
#endif
