// The reader at the end of a copy, and the least that looking at memory costs.
#ifndef QOR_BENCH_READING_H
#define QOR_BENCH_READING_H

#include <cstddef>
#include <cstdint>

namespace qor::bench {

// Reads whole 64-bit words, as wide as the processor can; a rest of less than a word is not read.
uint64_t sumOfWords(const unsigned char* data, size_t bytes);

}  // namespace qor::bench

#endif
