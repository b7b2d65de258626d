#include "corefoundation/cf_data.h"

const uint8_t* CFDataGetBytePtr(CFDataRef data) {
    return reinterpret_cast<const uint8_t*>(data->bytes.get());
}

CFIndex CFDataGetLength(CFDataRef data) {
    return static_cast<CFIndex>(data->length);
}
