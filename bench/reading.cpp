#include "reading.h"

#include <cstring>

// The compiler vectorises the loop once for each instruction set.
#ifdef __x86_64__
#define QOR_BENCH_WIDEST __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define QOR_BENCH_WIDEST
#endif

namespace qor::bench {

QOR_BENCH_WIDEST uint64_t sumOfWords(const unsigned char* data, size_t bytes) {
    uint64_t sum = 0;
    for (size_t at = 0; at + sizeof sum <= bytes; at += sizeof sum) {
        uint64_t word = 0;
        std::memcpy(&word, data + at, sizeof word);
        sum += word;
    }
    return sum;
}

}  // namespace qor::bench
