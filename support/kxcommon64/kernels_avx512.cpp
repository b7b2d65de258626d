// Compiled for AVX-512 with byte permutations (F, BW, VBMI). Nothing but intrinsics and plain data:
// see kernels.h.
#include <immintrin.h>

#include "kernel_loops.h"

namespace qor::scaling {
namespace {

constexpr unsigned char kOrder[] = {0, 1};

// Windows of 64 bytes, each read with one load.
struct Narrow {
    static constexpr WindowShape kShape = {64, 32, 2, kOrder};

    static __m512i placesOf(__m512i places) { return places; }
    static __m512i readPairs(const unsigned char* row, const uint32_t* windows, __m512i places) {
        return _mm512_permutexvar_epi8(places, _mm512_loadu_si512(row + windows[0]));
    }
};

// Windows of 128 bytes, for images made up to four times as narrow.
struct Wide {
    static constexpr WindowShape kShape = {128, 32, 2, kOrder};

    static __m512i placesOf(__m512i places) { return places; }
    static __m512i readPairs(const unsigned char* row, const uint32_t* windows, __m512i places) {
        const unsigned char* const window = row + windows[0];
        return _mm512_permutex2var_epi8(_mm512_loadu_si512(window), places,
                                        _mm512_loadu_si512(window + 64));
    }
};

struct Avx512 {
    static constexpr size_t kBlock = 64;
    static constexpr bool kStreams = true;
    static constexpr size_t kStripBlocks = 2;
    using Bytes = __m512i;
    using Samples = __m512i;

    static __m512i load(const void* from) { return _mm512_loadu_si512(from); }
    static __m512i samplesOf(int value) { return _mm512_set1_epi16(static_cast<short>(value)); }
    static __m512i pairsOf(int16_t pair) { return _mm512_set1_epi16(pair); }
    static __m512i interleaveLow(__m512i first, __m512i second) {
        return _mm512_unpacklo_epi8(first, second);
    }
    static __m512i interleaveHigh(__m512i first, __m512i second) {
        return _mm512_unpackhi_epi8(first, second);
    }

    template <bool HasFine>
    static __m512i weigh(__m512i pairs, __m512i coarse, __m512i fine) {
        const __m512i sum = _mm512_maddubs_epi16(pairs, coarse);
        if constexpr (!HasFine) {
            return sum;
        }
        const __m512i rest = _mm512_maddubs_epi16(pairs, fine);
        return _mm512_add_epi16(sum, _mm512_srai_epi16(rest, kFractionBits));
    }

    static __m512i mix(__m512i near, __m512i far, __m512i factor) {
        return _mm512_add_epi16(near, _mm512_mulhi_epi16(_mm512_sub_epi16(near, far), factor));
    }

    static __m512i rounded(__m512i samples, int fractionBits) {
        return _mm512_mulhrs_epi16(samples, samplesOf(1 << (15 - fractionBits)));
    }

    // One permutation takes the bytes out of both registers in order.
    static __m512i packed(__m512i low, __m512i high) {
        alignas(64) static constexpr unsigned char kLowBytes[64] = {
            0,  2,  4,   6,   8,   10,  12,  14,  16,  18,  20,  22,  24,  26,  28,  30,
            32, 34, 36,  38,  40,  42,  44,  46,  48,  50,  52,  54,  56,  58,  60,  62,
            64, 66, 68,  70,  72,  74,  76,  78,  80,  82,  84,  86,  88,  90,  92,  94,
            96, 98, 100, 102, 104, 106, 108, 110, 112, 114, 116, 118, 120, 122, 124, 126};
        return _mm512_permutex2var_epi8(rounded(low, kFractionBits), load(kLowBytes),
                                        rounded(high, kFractionBits));
    }
    static void store(unsigned char* target, __m512i low, __m512i high) {
        _mm512_storeu_si512(target, packed(low, high));
    }
    static void stream(unsigned char* target, __m512i low, __m512i high) {
        _mm512_stream_si512(static_cast<__m512i*>(static_cast<void*>(target)), packed(low, high));
    }
    static void storeBlend(unsigned char* target, __m512i low, __m512i high) {
        _mm512_storeu_si512(
            target, _mm512_packus_epi16(rounded(low, kFractionBits), rounded(high, kFractionBits)));
    }

    // Of neighbours in either row, within lanes.
    static __m512i sums(__m512i upper, __m512i lower) {
        const __m512i neighbours = _mm512_broadcast_i32x4(
            _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
        const __m512i ones = _mm512_set1_epi8(1);
        return _mm512_add_epi16(_mm512_maddubs_epi16(_mm512_shuffle_epi8(upper, neighbours), ones),
                                _mm512_maddubs_epi16(_mm512_shuffle_epi8(lower, neighbours), ones));
    }

    static void halve(const unsigned char* upper, const unsigned char* lower,
                      unsigned char* target) {
        const __m512i packed =
            _mm512_packus_epi16(rounded(sums(load(upper), load(lower)), 2),
                                rounded(sums(load(upper + kBlock), load(lower + kBlock)), 2));
        const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
        _mm512_storeu_si512(target, _mm512_permutexvar_epi64(order, packed));
    }
};

constexpr BandKernel kNarrow = bandKernel<Avx512, Narrow>();
constexpr BandKernel kWide = bandKernel<Avx512, Wide>();
constexpr const BandKernel* kBands[] = {&kNarrow, &kWide, &kAvx2Dense, &kAvx2Sparse};

}  // namespace

constinit const RowKernels kAvx512Kernels = {"avx512",          kBands,         4,
                                             Avx512::kStreams,  Avx512::kBlock, blendRows<Avx512>,
                                             halveRows<Avx512>, meanRowsOfAvx2};

}  // namespace qor::scaling
