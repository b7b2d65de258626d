// For arm64, all of whose processors have these instructions.
#include <arm_neon.h>

#include "kernel_loops.h"

namespace qor::scaling {
namespace {

// Windows of 16 bytes, one a register.
struct Dense {
    static constexpr unsigned char kOrder[] = {0, 1};
    static constexpr WindowShape kShape = {16, 8, 2, kOrder};

    static uint8x16_t placesOf(uint8x16_t places) { return places; }
    static uint8x16_t readPairs(const unsigned char* row, const uint32_t* windows,
                                uint8x16_t places) {
        return vqtbl1q_u8(vld1q_u8(row + windows[0]), places);
    }
};

// Windows of 8 bytes, for a pixel and its neighbour, where those of two pixels lie too far apart.
struct Sparse {
    static constexpr unsigned char kOrder[] = {0, 1, 2, 3};
    static constexpr WindowShape kShape = {8, 4, 4, kOrder};

    static uint8x16_t placesOf(uint8x16_t places) {
        return vorrq_u8(places, vcombine_u8(vdup_n_u8(0), vdup_n_u8(8)));
    }
    static uint8x16_t readPairs(const unsigned char* row, const uint32_t* windows,
                                uint8x16_t places) {
        const uint8x16_t both = vcombine_u8(vld1_u8(row + windows[0]), vld1_u8(row + windows[1]));
        return vqtbl1q_u8(both, places);
    }
};

struct Neon {
    static constexpr size_t kBlock = 16;
    static constexpr bool kStreams = false;
    static constexpr size_t kStripBlocks = 2;
    using Bytes = uint8x16_t;
    using Samples = int16x8_t;

    static uint8x16_t load(const unsigned char* from) { return vld1q_u8(from); }
    static int16x8_t samplesOf(int value) { return vdupq_n_s16(static_cast<int16_t>(value)); }
    static uint8x16_t pairsOf(int16_t pair) { return vreinterpretq_u8_s16(vdupq_n_s16(pair)); }
    static uint8x16_t interleaveLow(uint8x16_t first, uint8x16_t second) {
        return vzip1q_u8(first, second);
    }
    static uint8x16_t interleaveHigh(uint8x16_t first, uint8x16_t second) {
        return vzip2q_u8(first, second);
    }

    static int16x8_t firsts(uint8x16_t pairs) {
        return vandq_s16(vreinterpretq_s16_u8(pairs), vdupq_n_s16(0xFF));
    }
    static int16x8_t seconds(uint8x16_t pairs) {
        return vreinterpretq_s16_u16(vshrq_n_u16(vreinterpretq_u16_u8(pairs), 8));
    }
    static int16x8_t signedFirsts(uint8x16_t pairs) {
        return vshrq_n_s16(vshlq_n_s16(vreinterpretq_s16_u8(pairs), 8), 8);
    }
    static int16x8_t signedSeconds(uint8x16_t pairs) {
        return vshrq_n_s16(vreinterpretq_s16_u8(pairs), 8);
    }

    template <bool HasFine>
    static int16x8_t weigh(uint8x16_t pairs, uint8x16_t coarse, uint8x16_t fine) {
        const int16x8_t first = firsts(pairs);
        const int16x8_t second = seconds(pairs);
        const int16x8_t sum = vmlaq_s16(vmulq_s16(first, firsts(coarse)), second, seconds(coarse));
        if constexpr (!HasFine) {
            return sum;
        }
        const int16x8_t rest =
            vmlaq_s16(vmulq_s16(first, signedFirsts(fine)), second, signedSeconds(fine));
        return vsraq_n_s16(sum, rest, kFractionBits);
    }

    // The multiplication doubles.
    static int16x8_t mix(int16x8_t near, int16x8_t far, int16x8_t factor) {
        return vaddq_s16(near, vqdmulhq_s16(vsubq_s16(near, far), vshrq_n_s16(factor, 1)));
    }

    static void store(unsigned char* target, int16x8_t low, int16x8_t high) {
        vst1q_u8(target, vcombine_u8(vqrshrun_n_s16(low, kFractionBits),
                                     vqrshrun_n_s16(high, kFractionBits)));
    }
    static void storeBlend(unsigned char* target, int16x8_t low, int16x8_t high) {
        store(target, low, high);
    }

    // Pairs of neighbouring pixels, two a register.
    struct Neighbours {
        uint8x16_t low;
        uint8x16_t high;
    };
    static void storeMeans(unsigned char* target, const Neighbours& upper,
                           const Neighbours& lower) {
        const auto pixels = [](const Neighbours& neighbours, bool isSecond) {
            const uint32x4_t low = vreinterpretq_u32_u8(neighbours.low);
            const uint32x4_t high = vreinterpretq_u32_u8(neighbours.high);
            return vreinterpretq_u8_u32(isSecond ? vuzp2q_u32(low, high) : vuzp1q_u32(low, high));
        };
        const uint8x16_t a = pixels(upper, false);
        const uint8x16_t b = pixels(upper, true);
        const uint8x16_t c = pixels(lower, false);
        const uint8x16_t d = pixels(lower, true);
        const uint16x8_t low = vaddq_u16(vaddl_u8(vget_low_u8(a), vget_low_u8(b)),
                                         vaddl_u8(vget_low_u8(c), vget_low_u8(d)));
        const uint16x8_t high = vaddq_u16(vaddl_high_u8(a, b), vaddl_high_u8(c, d));
        vst1q_u8(target, vcombine_u8(vrshrn_n_u16(low, 2), vrshrn_n_u16(high, 2)));
    }

    static void halve(const unsigned char* upper, const unsigned char* lower,
                      unsigned char* target) {
        storeMeans(target, {load(upper), load(upper + kBlock)},
                   {load(lower), load(lower + kBlock)});
    }

    static void mean(const unsigned char* upper, const unsigned char* lower, size_t step,
                     unsigned char* target) {
        const auto neighbours = [step](const unsigned char* from) -> Neighbours {
            return {vcombine_u8(vld1_u8(from), vld1_u8(from + step)),
                    vcombine_u8(vld1_u8(from + 2 * step), vld1_u8(from + 3 * step))};
        };
        storeMeans(target, neighbours(upper), neighbours(lower));
    }
};

constexpr BandKernel kDense = bandKernel<Neon, Dense>();
constexpr BandKernel kSparse = bandKernel<Neon, Sparse>();
constexpr const BandKernel* kBands[] = {&kDense, &kSparse};

}  // namespace

constinit const RowKernels kNeonKernels = {"neon",          kBands,        2,
                                           Neon::kStreams,  Neon::kBlock,  blendRows<Neon>,
                                           halveRows<Neon>, meanRows<Neon>};

}  // namespace qor::scaling
