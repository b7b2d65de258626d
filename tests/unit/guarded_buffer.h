// Memory between two pages that cannot be touched: an access past the edge of an image ends the
// program instead of going unseen.
#ifndef UNIT_GUARDED_BUFFER_H
#define UNIT_GUARDED_BUFFER_H

#include <cstddef>
#include <ostream>
#include <span>

// Where a piece of a GuardedBuffer lies: so many bytes from the page in front or behind.
struct Placement {
    enum class Edge { Front, Back };
    Edge edge;
    size_t distance = 0;
};

constexpr Placement kAtFront = {Placement::Edge::Front};
constexpr Placement kAtBack = {Placement::Edge::Back};

std::ostream& operator<<(std::ostream& out, const Placement& placement);

class GuardedBuffer {
  public:
    // Throws std::system_error when the system has no such memory.
    explicit GuardedBuffer(size_t capacity);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    // A piece of count bytes, which together with the distance are at most the capacity; throws
    // std::length_error otherwise. Marks the bytes next to it on either side; ends the life of the
    // piece handed out before. Of no bytes and no distance it points at a page that cannot be
    // touched.
    std::span<unsigned char> place(Placement placement, size_t count);

    // Whether the bytes next to the piece are as place left them.
    bool isSurroundingUntouched() const;

  private:
    std::span<unsigned char> before() const;
    std::span<unsigned char> after() const;

    std::span<unsigned char> mapping_;
    std::span<unsigned char> usable_;
    std::span<unsigned char> piece_;
};

#endif
