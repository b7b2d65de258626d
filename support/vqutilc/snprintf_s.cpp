#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "vqutilc.h"

int snprintf_s(char* buffer, size_t size, size_t count, const char* format, ...) {
    if (buffer == nullptr || size == 0 || format == nullptr) {
        return -1;
    }
    const size_t room = std::min(size - 1, count);
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, room + 1, format, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) <= room ? length : -1;
}
