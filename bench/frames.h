// Frames to work on: sizes, memory, noise, and the pairs of source and target that the contenders
// go through.
#ifndef QOR_BENCH_FRAMES_H
#define QOR_BENCH_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qor::bench {

constexpr size_t kBytesPerPixel = 4;
constexpr size_t kCacheLine = 64;

struct Size {
    int width;
    int height;

    constexpr size_t rowBytes() const { return static_cast<size_t>(width) * kBytesPerPixel; }
    constexpr size_t bytes() const { return rowBytes() * static_cast<size_t>(height); }
};

// "1920x1080".
std::string nameOf(Size size);

// Memory aligned to cache lines and present, so that nobody's turn pays for its first touch.
class Buffer {
  public:
    explicit Buffer(size_t bytes);

    unsigned char* data() { return memory_.get(); }
    const unsigned char* data() const { return memory_.get(); }
    size_t size() const { return size_; }
    std::span<const unsigned char> bytes() const { return {memory_.get(), size_}; }

  private:
    struct Free {
        void operator()(unsigned char* memory) const { std::free(memory); }
    };

    std::unique_ptr<unsigned char, Free> memory_;
    size_t size_;
};

// The same noise for the same seed.
void fillWithNoise(Buffer& buffer, uint64_t seed);

// What one call reads and what it writes.
struct FramePair {
    Buffer source;  // noise
    Buffer target;
};

FramePair makePair(size_t sourceBytes, size_t targetBytes, uint64_t seed);
std::vector<FramePair> makePairs(size_t sourceBytes, size_t targetBytes, size_t count);

// How many pairs it takes until the first is gone from every cache when its turn comes again.
size_t pairsBeyondCache(size_t sourceBytes, size_t targetBytes);

}  // namespace qor::bench

#endif
