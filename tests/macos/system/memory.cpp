// Memory: mmap's flag for memory without a file has another number, and macOS's allocator
// keeps a piece of memory for a size of nothing.
#include <strings.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kSharedPrivateFixed = 0x13;  // the same numbers on both systems
constexpr int kNoReserve = 0x40;
constexpr int kAnonymous = 0x1000;
constexpr int kAdvice = 0x0700;  // hints that may be ignored: no extension, semaphores, no cache

void* mapMemory(void* address, size_t size, int protection, int flags, int file, off_t offset) {
    if ((flags & ~(kSharedPrivateFixed | kNoReserve | kAnonymous | kAdvice)) != 0) {
        errno = ENOTSUP;
        return MAP_FAILED;
    }
    int native = flags & kSharedPrivateFixed;
    native |= (flags & kNoReserve) != 0 ? MAP_NORESERVE : 0;
    if ((flags & kAnonymous) != 0) {
        // The descriptor may carry a tag of the memory's owner there.
        return mmap(address, size, protection, native | MAP_ANONYMOUS, -1, offset);
    }
    return mmap(address, size, protection, native, file, offset);
}

// Written out: this system's bzero is a macro over memset.
void zero(void* memory, size_t size) {
    std::memset(memory, 0, size);
}

void fillWithPattern(void* memory, const void* sixteenBytes, size_t size) {
    auto* const bytes = static_cast<unsigned char*>(memory);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<const unsigned char*>(sixteenBytes)[i % 16];
    }
}

// A smallest piece for a size of nothing; this system's would only free.
void* reallocate(void* memory, size_t size) {
    return std::realloc(memory, size == 0 ? 1 : size);
}

uintptr_t stackGuard = 0x00F1A5C0D3B7E900;  // a zero byte ends an overflowing string's copy

const Registration registration{
    symbol("_mmap", mapMemory),
    symbol("_realloc", reallocate),
    symbol("_memset_pattern16", fillWithPattern),
    symbol("_bzero", zero),
    symbol("___bzero", zero),
    symbol("___stack_chk_guard", &stackGuard),
};

}  // namespace
}  // namespace system_library
