#include "guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace {

// More than the widest vector: what a kernel writes too much begins right at the edge.
constexpr size_t kMarked = 256;

// Another one at every address: the marks next to a source, copied too far, are seen next to the
// target.
unsigned char markAt(const unsigned char& byte) {
    const uint64_t address = reinterpret_cast<uintptr_t>(&byte);
    return static_cast<unsigned char>(address * 0x9E3779B97F4A7C15 >> 56);
}

void mark(std::span<unsigned char> bytes) {
    for (unsigned char& byte : bytes) {
        byte = markAt(byte);
    }
}

size_t pageSize() {
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

std::span<unsigned char> mapWithoutAccess(size_t size) {
    void* const start = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "guarded buffer: mmap");
    }
    return {static_cast<unsigned char*>(start), size};
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Placement& placement) {
    const bool isAtFront = placement.edge == Placement::Edge::Front;
    return out << placement.distance << " bytes from the " << (isAtFront ? "front" : "back");
}

GuardedBuffer::GuardedBuffer(size_t capacity) {
    const size_t page = pageSize();
    const size_t usable = (capacity + page - 1) / page * page;
    mapping_ = mapWithoutAccess(usable + 2 * page);
    usable_ = mapping_.subspan(page, usable);
    piece_ = usable_;
    if (usable != 0 && mprotect(usable_.data(), usable, PROT_READ | PROT_WRITE) != 0) {
        const int error = errno;
        munmap(mapping_.data(), mapping_.size());
        throw std::system_error(error, std::generic_category(), "guarded buffer: mprotect");
    }
}

GuardedBuffer::~GuardedBuffer() {
    munmap(mapping_.data(), mapping_.size());
}

std::span<unsigned char> GuardedBuffer::place(Placement placement, size_t count) {
    if (placement.distance > usable_.size() || count > usable_.size() - placement.distance) {
        throw std::length_error("guarded buffer: the piece is larger than the buffer");
    }
    const size_t offset = placement.edge == Placement::Edge::Front
                              ? placement.distance
                              : usable_.size() - placement.distance - count;
    piece_ = usable_.subspan(offset, count);
    mark(before());
    mark(after());
    return piece_;
}

bool GuardedBuffer::isSurroundingUntouched() const {
    const auto isMarked = [](const unsigned char& byte) { return byte == markAt(byte); };
    return std::ranges::all_of(before(), isMarked) && std::ranges::all_of(after(), isMarked);
}

std::span<unsigned char> GuardedBuffer::before() const {
    const size_t room = static_cast<size_t>(piece_.data() - usable_.data());
    const size_t marked = std::min(room, kMarked);
    return usable_.subspan(room - marked, marked);
}

std::span<unsigned char> GuardedBuffer::after() const {
    const size_t offset = static_cast<size_t>(piece_.data() - usable_.data()) + piece_.size();
    return usable_.subspan(offset, std::min(usable_.size() - offset, kMarked));
}
