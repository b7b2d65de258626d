#include "frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "machine.h"

namespace qor::bench {

namespace {

constexpr size_t kCachesFilled = 3;

// splitmix64: passes the usual tests of randomness, at memory speed.
uint64_t nextRandom(uint64_t& state) {
    state += 0x9E3779B97F4A7C15;
    uint64_t value = state;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

size_t roundedUp(size_t value, size_t unit) {
    return (value + unit - 1) / unit * unit;
}

}  // namespace

std::string nameOf(Size size) {
    return fmt::format("{}x{}", size.width, size.height);
}

Buffer::Buffer(size_t bytes)
    : memory_(static_cast<unsigned char*>(
          std::aligned_alloc(kCacheLine, roundedUp(bytes, kCacheLine)))),
      size_(bytes) {
    if (!memory_) {
        throw std::bad_alloc();
    }
    std::memset(memory_.get(), 0, bytes);
}

void fillWithNoise(Buffer& buffer, uint64_t seed) {
    uint64_t state = seed;
    for (size_t at = 0; at < buffer.size(); at += sizeof(uint64_t)) {
        const uint64_t value = nextRandom(state);
        std::memcpy(buffer.data() + at, &value, std::min(sizeof value, buffer.size() - at));
    }
}

FramePair makePair(size_t sourceBytes, size_t targetBytes, uint64_t seed) {
    FramePair pair{Buffer(sourceBytes), Buffer(targetBytes)};
    fillWithNoise(pair.source, seed);
    return pair;
}

std::vector<FramePair> makePairs(size_t sourceBytes, size_t targetBytes, size_t count) {
    std::vector<FramePair> pairs;
    for (size_t i = 0; i < count; ++i) {
        pairs.push_back(makePair(sourceBytes, targetBytes, i));
    }
    return pairs;
}

size_t pairsBeyondCache(size_t sourceBytes, size_t targetBytes) {
    const size_t pairBytes = sourceBytes + targetBytes;
    return std::max(kCachesFilled, kCachesFilled * lastLevelCacheBytes() / pairBytes + 1);
}

}  // namespace qor::bench
