#include <algorithm>
#include <cstring>

#include "kxcommon64.h"

void MacroMemcpy(void* dst, unsigned long dstSize, const void* src, unsigned long count) {
    if (dst == nullptr || src == nullptr) {
        return;
    }
    std::memcpy(dst, src, std::min(dstSize, count));
}
