#include "bounded_memory_faults.h"

#include <atomic>
#include <mutex>
#include <new>
#include <vector>

#include "kxcommon64.h"
#include "next_definition.h"

namespace {

std::atomic<int> boundedFailure{0};

// Constant-initialised: allocations come before main.
std::atomic<size_t> failingSize{0};
std::atomic<size_t> allocationsBeforeFailure{0};

std::atomic<bool> failed{false};

std::mutex keptMutex;

// Blocks of the failing size. A caller that loses one by rule leaves no leak behind this way.
std::vector<void*>& keptBlocks() {
    static std::vector<void*>& blocks = *new std::vector<void*>;
    return blocks;
}

bool allocationFails(size_t size) {
    if (failingSize != size) {
        return false;
    }
    if (allocationsBeforeFailure > 0) {
        --allocationsBeforeFailure;
        return false;
    }
    failingSize = 0;
    failed = true;
    return true;
}

void keepIfWatched(size_t size, void* block) {
    if (failingSize == size) {
        const std::lock_guard<std::mutex> lock(keptMutex);
        keptBlocks().push_back(block);
    }
}

}  // namespace

namespace memory_faults {

void reset() {
    boundedFailure = 0;
    failingSize = 0;
    allocationsBeforeFailure = 0;
}

void failBoundedCalls(int code) {
    boundedFailure = code;
}

void failAllocation(size_t size, size_t skip) {
    failed = false;
    allocationsBeforeFailure = skip;
    failingSize = size;
}

bool allocationFailed() {
    return failed;
}

}  // namespace memory_faults

int memset_s(void* dest, size_t destSize, int value, size_t count) {
    static const auto next = nextDefinition<decltype(&memset_s)>("memset_s");
    return boundedFailure != 0 ? boundedFailure.load() : next(dest, destSize, value, count);
}

int memcpy_s(void* dest, size_t destSize, const void* src, size_t count) {
    static const auto next = nextDefinition<decltype(&memcpy_s)>("memcpy_s");
    return boundedFailure != 0 ? boundedFailure.load() : next(dest, destSize, src, count);
}

int strncpy_s(char* dest, size_t destSize, const char* src, size_t count) {
    static const auto next = nextDefinition<decltype(&strncpy_s)>("strncpy_s");
    return boundedFailure != 0 ? boundedFailure.load() : next(dest, destSize, src, count);
}

// Both forms, so that it does not matter which one the library allocates its buffers with.

void* operator new[](size_t size) {
    static const auto next = nextDefinition<void* (*)(size_t)>("_Znam");
    if (allocationFails(size)) {
        throw std::bad_alloc();
    }
    void* const block = next(size);
    keepIfWatched(size, block);
    return block;
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
