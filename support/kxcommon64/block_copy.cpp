#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kxcommon64.h"
#include "streaming.h"

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

using namespace qor::scaling;

namespace {

#if defined(__x86_64__)

// The processor's own prefetching stops at the end of a page; this reaches well past it. Beyond the
// end of the source it has no effect.
constexpr size_t kPrefetchBytes = 8192;

void streamLine(unsigned char* dst, const unsigned char* src) {
    const auto* const from = static_cast<const __m128i_u*>(static_cast<const void*>(src));
    auto* const to = static_cast<__m128i*>(static_cast<void*>(dst));
    const __m128i bytes[] = {_mm_loadu_si128(from), _mm_loadu_si128(from + 1),
                             _mm_loadu_si128(from + 2), _mm_loadu_si128(from + 3)};
    for (size_t i = 0; i < 4; ++i) {
        _mm_stream_si128(to + i, bytes[i]);
    }
}

void streamCopy(unsigned char* dst, const unsigned char* src, size_t count) {
    const size_t unaligned =
        (kLineBytes - reinterpret_cast<uintptr_t>(dst) % kLineBytes) % kLineBytes;
    std::memcpy(dst, src, unaligned);
    size_t at = unaligned;
    for (; at + kLineBytes <= count; at += kLineBytes) {
        const uintptr_t ahead = reinterpret_cast<uintptr_t>(src + at) + kPrefetchBytes;
        _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_NTA);
        streamLine(dst + at, src + at);
    }
    endStreaming();
    std::memcpy(dst + at, src + at, count - at);
}

void copyLarge(unsigned char* dst, const unsigned char* src, size_t count) {
    if (belongsAroundCaches(count)) {
        streamCopy(dst, src, count);
    } else {
        std::memcpy(dst, src, count);
    }
}

#else

void copyLarge(unsigned char* dst, const unsigned char* src, size_t count) {
    std::memcpy(dst, src, count);
}

#endif

}  // namespace

void MacroMemcpy(void* dst, unsigned long dstSize, const void* src, unsigned long count) {
    if (dst == nullptr || src == nullptr) {
        return;
    }
    copyLarge(static_cast<unsigned char*>(dst), static_cast<const unsigned char*>(src),
              std::min(dstSize, count));
}
