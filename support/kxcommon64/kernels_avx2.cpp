// Compiled for AVX2. Nothing but intrinsics and plain data: see kernels.h.
#include <immintrin.h>

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

__m256i lanes(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// Windows of 16 bytes, one a lane. Packing takes the lanes of two registers in turn, hence the
// order.
struct Dense {
    static constexpr unsigned char kOrder[] = {0, 2, 1, 3};
    static constexpr WindowShape kShape = {16, 8, 4, kOrder};

    static __m256i placesOf(__m256i places) { return places; }
    static __m256i readPairs(const unsigned char* row, const uint32_t* windows, __m256i places) {
        return _mm256_shuffle_epi8(lanes(load16(row + windows[0]), load16(row + windows[1])),
                                   places);
    }
};

// Windows of 8 bytes, for a pixel and its neighbour, where those of two pixels lie too far apart.
struct Sparse {
    static constexpr unsigned char kOrder[] = {0, 1, 4, 5, 2, 3, 6, 7};
    static constexpr WindowShape kShape = {8, 4, 8, kOrder};

    static __m256i placesOf(__m256i places) {
        constexpr long long kSecondWindow = 0x0808080808080808;
        return _mm256_or_si256(places, _mm256_set_epi64x(kSecondWindow, 0, kSecondWindow, 0));
    }
    static __m256i readPairs(const unsigned char* row, const uint32_t* windows, __m256i places) {
        return _mm256_shuffle_epi8(lanes(load8And8(row + windows[0], row + windows[1]),
                                         load8And8(row + windows[2], row + windows[3])),
                                   places);
    }
};

struct Avx2 {
    static constexpr size_t kBlock = 32;
    static constexpr bool kStreams = true;
    static constexpr size_t kStripBlocks = 2;
    using Bytes = __m256i;
    using Samples = __m256i;

    static __m256i load(const void* from) {
        return _mm256_loadu_si256(static_cast<const __m256i_u*>(from));
    }
    static void save(void* to, __m256i bytes) {
        _mm256_storeu_si256(static_cast<__m256i_u*>(to), bytes);
    }
    static __m256i samplesOf(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
    static __m256i pairsOf(int16_t pair) { return _mm256_set1_epi16(pair); }
    static __m256i interleaveLow(__m256i first, __m256i second) {
        return _mm256_unpacklo_epi8(first, second);
    }
    static __m256i interleaveHigh(__m256i first, __m256i second) {
        return _mm256_unpackhi_epi8(first, second);
    }

    template <bool HasFine>
    static __m256i weigh(__m256i pairs, __m256i coarse, __m256i fine) {
        const __m256i sum = _mm256_maddubs_epi16(pairs, coarse);
        if constexpr (!HasFine) {
            return sum;
        }
        const __m256i rest = _mm256_maddubs_epi16(pairs, fine);
        return _mm256_add_epi16(sum, _mm256_srai_epi16(rest, kFractionBits));
    }

    static __m256i mix(__m256i near, __m256i far, __m256i factor) {
        return _mm256_add_epi16(near, _mm256_mulhi_epi16(_mm256_sub_epi16(near, far), factor));
    }

    // Rounded, the lanes of either in turn.
    static __m256i packed(__m256i low, __m256i high, int fractionBits) {
        const __m256i one = samplesOf(1 << (15 - fractionBits));
        return _mm256_packus_epi16(_mm256_mulhrs_epi16(low, one), _mm256_mulhrs_epi16(high, one));
    }
    static void store(unsigned char* target, __m256i low, __m256i high) {
        save(target, packed(low, high, kFractionBits));
    }
    static void stream(unsigned char* target, __m256i low, __m256i high) {
        _mm256_stream_si256(static_cast<__m256i*>(static_cast<void*>(target)),
                            packed(low, high, kFractionBits));
    }
    static void storeBlend(unsigned char* target, __m256i low, __m256i high) {
        store(target, low, high);
    }

    // Of neighbours in either row, within lanes.
    static __m256i sums(__m256i upper, __m256i lower) {
        const __m256i neighbours = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
        const __m256i ones = _mm256_set1_epi8(1);
        return _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(upper, neighbours), ones),
                                _mm256_maddubs_epi16(_mm256_shuffle_epi8(lower, neighbours), ones));
    }

    static void halve(const unsigned char* upper, const unsigned char* lower,
                      unsigned char* target) {
        const __m256i bytes = packed(sums(load(upper), load(lower)),
                                     sums(load(upper + kBlock), load(lower + kBlock)), 2);
        save(target, _mm256_permute4x64_epi64(bytes, _MM_SHUFFLE(3, 1, 2, 0)));
    }

    static void mean(const unsigned char* upper, const unsigned char* lower, size_t step,
                     unsigned char* target) {
        // Of the fours 0, 1, 4 and 5 from where it begins: packing puts 2 and 3 between.
        const auto pairs = [step](const unsigned char* from) {
            return lanes(load8And8(from, from + step), load8And8(from + 4 * step, from + 5 * step));
        };
        save(target, packed(sums(pairs(upper), pairs(lower)),
                            sums(pairs(upper + 2 * step), pairs(lower + 2 * step)), 2));
    }
};

constexpr const BandKernel* kBands[] = {&kAvx2Dense, &kAvx2Sparse};

}  // namespace

constinit const BandKernel kAvx2Dense = bandKernel<Avx2, Dense>();
constinit const BandKernel kAvx2Sparse = bandKernel<Avx2, Sparse>();
constinit const RowKernels kAvx2Kernels = {"avx2",          kBands,        2,
                                           Avx2::kStreams,  Avx2::kBlock,  blendRows<Avx2>,
                                           halveRows<Avx2>, meanRowsOfAvx2};

void meanRowsOfAvx2(const MeanBand& band, size_t bytes) {
    meanRows<Avx2>(band, bytes);
}

}  // namespace qor::scaling
