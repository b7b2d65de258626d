#include <cerrno>
#include <cstring>

#include "kxcommon64.h"

int memset_s(void* dest, size_t destSize, int value, size_t count) {
    if (dest == nullptr) {
        return EINVAL;
    }
    if (count > destSize) {
        return ERANGE;
    }
    std::memset(dest, value, count);
    return 0;
}

int memcpy_s(void* dest, size_t destSize, const void* src, size_t count) {
    if (dest == nullptr || src == nullptr) {
        return EINVAL;
    }
    if (count > destSize) {
        return ERANGE;
    }
    std::memcpy(dest, src, count);
    return 0;
}

int strncpy_s(char* dest, size_t destSize, const char* src, size_t count) {
    if (dest == nullptr || destSize == 0) {
        return EINVAL;
    }
    dest[0] = '\0';
    if (src == nullptr) {
        return EINVAL;
    }
    const size_t length = strnlen(src, count);
    if (length >= destSize) {
        return ERANGE;
    }
    std::memcpy(dest, src, length);
    dest[length] = '\0';
    return 0;
}
