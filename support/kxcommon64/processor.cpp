// Asked of the processor itself. The compilers' __builtin_cpu_supports needs a part of their
// runtime library that linkers for macOS do not all bring.
#include "processor.h"

#include <cpuid.h>

#include <cstdint>

namespace qor::scaling {
namespace {

constexpr uint64_t kVectorState = 0x06;  // the registers of SSE and AVX
constexpr uint64_t kWideVectorState = kVectorState | 0xE0;

struct Leaf {
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
};

// All zero for a leaf that the processor does not have.
Leaf leaf(uint32_t number) {
    Leaf result;
    __get_cpuid_count(number, 0, &result.eax, &result.ebx, &result.ecx, &result.edx);
    return result;
}

bool has(uint32_t flags, unsigned bit) {
    return (flags >> bit & 1U) != 0;
}

// What the system keeps for a thread that is interrupted. macOS grants the widest registers only
// once a thread has used them, so AVX-512 counts as not there until then.
uint64_t keptState(const Leaf& basic) {
    constexpr unsigned kReadable = 27;
    if (!has(basic.ecx, kReadable)) {
        return 0;
    }
    uint32_t low = 0;
    uint32_t high = 0;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return static_cast<uint64_t>(high) << 32 | low;
}

}  // namespace

InstructionSets usableInstructionSets() {
    const Leaf basic = leaf(1);
    const Leaf extended = leaf(7);
    const uint64_t kept = keptState(basic);
    const bool keepsVectors = (kept & kVectorState) == kVectorState;
    const bool keepsWideVectors = (kept & kWideVectorState) == kWideVectorState;
    return {.sse41 = has(basic.ecx, 19),
            .avx2 = keepsVectors && has(extended.ebx, 5),
            .avx512 = keepsWideVectors && has(extended.ebx, 16) && has(extended.ebx, 30) &&
                      has(extended.ecx, 1)};
}

}  // namespace qor::scaling
