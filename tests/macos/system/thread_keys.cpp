// Keys and once: a key is an unsigned long, a once object carries a signature.
#include <pthread.h>

#include "errors.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr long kOnceSignature = 0x30B1BCBA;

struct Once {
    long signature;
    pthread_once_t native;  // zero in macOS's initialiser, as this system's
};

static_assert(sizeof(Once) == 16);
static_assert(PTHREAD_ONCE_INIT == 0);

int createKey(unsigned long* key, void (*destructor)(void*)) {
    pthread_key_t made{};
    const int error = pthread_key_create(&made, destructor);
    if (error == 0) {
        *key = made;
    }
    return macError(error);
}

int once(Once* control, void (*routine)()) {
    if (control->signature != kOnceSignature) {
        return kErrorInvalid;
    }
    return macError(pthread_once(&control->native, routine));
}

const Registration registration{
    symbol("_pthread_key_create", createKey),
    symbol("_pthread_once", once),
};

}  // namespace
}  // namespace system_library
