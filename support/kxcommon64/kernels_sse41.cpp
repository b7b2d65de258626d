// Compiled for SSE4.1. Nothing but intrinsics and plain data: see kernels.h.
#include <smmintrin.h>

#include "kernel_loops.h"

namespace qor::scaling {
namespace {

__m128i load16(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i_u*>(from));
}

__m128i load8And8(const void* low, const void* high) {
    const __m128i first = _mm_loadl_epi64(static_cast<const __m128i_u*>(low));
    return _mm_castpd_si128(
        _mm_loadh_pd(_mm_castsi128_pd(first), static_cast<const double*>(high)));
}

// Windows of 16 bytes, one a register.
struct Dense {
    static constexpr unsigned char kOrder[] = {0, 1};
    static constexpr WindowShape kShape = {16, 8, 2, kOrder};

    static __m128i placesOf(__m128i places) { return places; }
    static __m128i readPairs(const unsigned char* row, const uint32_t* windows, __m128i places) {
        return _mm_shuffle_epi8(load16(row + windows[0]), places);
    }
};

// Windows of 8 bytes, for a pixel and its neighbour, where those of two pixels lie too far apart.
struct Sparse {
    static constexpr unsigned char kOrder[] = {0, 1, 2, 3};
    static constexpr WindowShape kShape = {8, 4, 4, kOrder};

    static __m128i placesOf(__m128i places) {
        return _mm_or_si128(places, _mm_set_epi64x(0x0808080808080808, 0));
    }
    static __m128i readPairs(const unsigned char* row, const uint32_t* windows, __m128i places) {
        return _mm_shuffle_epi8(load8And8(row + windows[0], row + windows[1]), places);
    }
};

struct Sse41 {
    static constexpr size_t kBlock = 16;
    static constexpr bool kStreams = false;
    static constexpr size_t kStripBlocks = 2;
    using Bytes = __m128i;
    using Samples = __m128i;

    static __m128i load(const void* from) { return load16(from); }
    static __m128i samplesOf(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
    static __m128i pairsOf(int16_t pair) { return _mm_set1_epi16(pair); }
    static __m128i interleaveLow(__m128i first, __m128i second) {
        return _mm_unpacklo_epi8(first, second);
    }
    static __m128i interleaveHigh(__m128i first, __m128i second) {
        return _mm_unpackhi_epi8(first, second);
    }

    template <bool HasFine>
    static __m128i weigh(__m128i pairs, __m128i coarse, __m128i fine) {
        const __m128i sum = _mm_maddubs_epi16(pairs, coarse);
        if constexpr (!HasFine) {
            return sum;
        }
        const __m128i rest = _mm_maddubs_epi16(pairs, fine);
        return _mm_add_epi16(sum, _mm_srai_epi16(rest, kFractionBits));
    }

    static __m128i mix(__m128i near, __m128i far, __m128i factor) {
        return _mm_add_epi16(near, _mm_mulhi_epi16(_mm_sub_epi16(near, far), factor));
    }

    static void storeRounded(unsigned char* target, __m128i low, __m128i high, int fractionBits) {
        const __m128i one = samplesOf(1 << (15 - fractionBits));
        const __m128i bytes =
            _mm_packus_epi16(_mm_mulhrs_epi16(low, one), _mm_mulhrs_epi16(high, one));
        _mm_storeu_si128(static_cast<__m128i_u*>(static_cast<void*>(target)), bytes);
    }
    static void store(unsigned char* target, __m128i low, __m128i high) {
        storeRounded(target, low, high, kFractionBits);
    }
    static void storeBlend(unsigned char* target, __m128i low, __m128i high) {
        storeRounded(target, low, high, kFractionBits);
    }

    // Of neighbours in either row.
    static __m128i sums(__m128i upper, __m128i lower) {
        const __m128i neighbours =
            _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
        const __m128i ones = _mm_set1_epi8(1);
        return _mm_add_epi16(_mm_maddubs_epi16(_mm_shuffle_epi8(upper, neighbours), ones),
                             _mm_maddubs_epi16(_mm_shuffle_epi8(lower, neighbours), ones));
    }

    static void halve(const unsigned char* upper, const unsigned char* lower,
                      unsigned char* target) {
        storeRounded(target, sums(load(upper), load(lower)),
                     sums(load(upper + kBlock), load(lower + kBlock)), 2);
    }

    static void mean(const unsigned char* upper, const unsigned char* lower, size_t step,
                     unsigned char* target) {
        const auto pair = [step](const unsigned char* from) {
            return load8And8(from, from + step);
        };
        storeRounded(target, sums(pair(upper), pair(lower)),
                     sums(pair(upper + 2 * step), pair(lower + 2 * step)), 2);
    }
};

constexpr BandKernel kDense = bandKernel<Sse41, Dense>();
constexpr BandKernel kSparse = bandKernel<Sse41, Sparse>();
constexpr const BandKernel* kBands[] = {&kDense, &kSparse};

}  // namespace

constinit const RowKernels kSse41Kernels = {"sse4.1",         kBands,         2,
                                            Sse41::kStreams,  Sse41::kBlock,  blendRows<Sse41>,
                                            halveRows<Sse41>, meanRows<Sse41>};

}  // namespace qor::scaling
