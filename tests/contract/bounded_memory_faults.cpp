#include "bounded_memory_faults.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "journal.h"
#include "kxcommon64.h"
#include "next_definition.h"

namespace {

std::atomic<int> boundedFailure{0};
std::atomic<size_t> boundedSkip{0};
std::atomic<size_t> boundedTimes{0};

// The code that a bounded call is to return in place of its work; 0 when it is to go well.
int boundedResult() {
    if (boundedFailure == 0 || boundedTimes == 0) {
        return 0;
    }
    if (boundedSkip > 0) {
        --boundedSkip;
        return 0;
    }
    if (boundedTimes != memory_faults::kAlways) {
        --boundedTimes;
    }
    return boundedFailure;
}

void noteBoundedCall(const char* function, size_t size, size_t count) {
    Journal::note(std::string(function) + "(" + std::to_string(size) + ", " +
                  std::to_string(count) + ")");
}

// Constant-initialised: allocations come before main.
std::atomic<size_t> failingSize{0};
std::atomic<size_t> allocationsBeforeFailure{0};

std::atomic<bool> failed{false};

std::atomic<size_t> failingSingleSize{0};

std::atomic<size_t> inUse{0};

std::mutex keptMutex;
std::atomic<size_t> keptFreed{0};
std::atomic<size_t> keptCleared{0};

struct Kept {
    void* block;
    size_t size;

    bool isCleared() const {
        const auto* const bytes = static_cast<const unsigned char*>(block);
        return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    }
};

// Blocks of the failing size. A caller that loses one by rule leaves no leak behind this way.
std::vector<Kept>& keptBlocks() {
    static std::vector<Kept>& blocks = *new std::vector<Kept>;
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
        keptBlocks().push_back({block, size});
    }
}

void* counted(void* block) {
    if (block != nullptr) {
        ++inUse;
    }
    return block;
}

void countAsFreed(void* block) {
    if (block != nullptr) {
        --inUse;
    }
}

void countIfKept(void* block) {
    if (block == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> lock(keptMutex);
    const auto kept = std::find_if(keptBlocks().begin(), keptBlocks().end(),
                                   [block](const Kept& each) { return each.block == block; });
    if (kept != keptBlocks().end()) {
        keptCleared += kept->isCleared();
        keptBlocks().erase(kept);
        ++keptFreed;
    }
}

}  // namespace

namespace memory_faults {

void reset() {
    boundedFailure = 0;
    failingSize = 0;
    allocationsBeforeFailure = 0;
    failingSingleSize = 0;
}

void failBoundedCalls(int code, size_t skip, size_t times) {
    boundedSkip = skip;
    boundedTimes = times;
    boundedFailure = code;
}

void failAllocation(size_t size, size_t skip) {
    failed = false;
    keptFreed = 0;
    keptCleared = 0;
    allocationsBeforeFailure = skip;
    failingSize = size;
}

bool allocationFailed() {
    return failed;
}

size_t skippedOnesFreed() {
    return keptFreed;
}

size_t skippedOnesCleared() {
    return keptCleared;
}

void failSingleAllocation(size_t size) {
    failingSingleSize = size;
}

size_t blocksInUse() {
    return inUse;
}

}  // namespace memory_faults

int memset_s(void* dest, size_t destSize, int value, size_t count) {
    static const auto next = nextDefinition<decltype(&memset_s)>("memset_s");
    noteBoundedCall("memset_s", destSize, count);
    const int failure = boundedResult();
    return failure != 0 ? failure : next(dest, destSize, value, count);
}

int memcpy_s(void* dest, size_t destSize, const void* src, size_t count) {
    static const auto next = nextDefinition<decltype(&memcpy_s)>("memcpy_s");
    noteBoundedCall("memcpy_s", destSize, count);
    const int failure = boundedResult();
    return failure != 0 ? failure : next(dest, destSize, src, count);
}

int strncpy_s(char* dest, size_t destSize, const char* src, size_t count) {
    static const auto next = nextDefinition<decltype(&strncpy_s)>("strncpy_s");
    noteBoundedCall("strncpy_s", destSize, count);
    const int failure = boundedResult();
    return failure != 0 ? failure : next(dest, destSize, src, count);
}

INTERPOSED void* operator new(size_t size) {
    static const auto next = nextDefinition<void* (*)(size_t)>("_Znwm");
    size_t failing = size;
    if (size != 0 && failingSingleSize.compare_exchange_strong(failing, 0)) {
        throw std::bad_alloc();
    }
    return counted(next(size));
}

INTERPOSED void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Both forms, so that it does not matter which one the library allocates its buffers with.

INTERPOSED void* operator new[](size_t size) {
    static const auto next = nextDefinition<void* (*)(size_t)>("_Znam");
    if (allocationFails(size)) {
        throw std::bad_alloc();
    }
    void* const block = counted(next(size));
    keepIfWatched(size, block);
    return block;
}

INTERPOSED void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Large frames are aligned.
INTERPOSED void* operator new[](size_t size, std::align_val_t alignment,
                                const std::nothrow_t& tag) noexcept {
    static const auto next =
        nextDefinition<void* (*)(size_t, std::align_val_t, const std::nothrow_t&)>(
            "_ZnamSt11align_val_tRKSt9nothrow_t");
    if (allocationFails(size)) {
        return nullptr;
    }
    void* const block = counted(next(size, alignment, tag));
    keepIfWatched(size, block);
    return block;
}

INTERPOSED void operator delete[](void* block, std::align_val_t alignment) noexcept {
    static const auto next =
        nextDefinition<void (*)(void*, std::align_val_t)>("_ZdaPvSt11align_val_t");
    countIfKept(block);
    countAsFreed(block);
    next(block, alignment);
}

INTERPOSED void operator delete[](void* block) noexcept {
    static const auto next = nextDefinition<void (*)(void*)>("_ZdaPv");
    countIfKept(block);
    countAsFreed(block);
    next(block);
}

INTERPOSED void operator delete(void* block) noexcept {
    static const auto next = nextDefinition<void (*)(void*)>("_ZdlPv");
    countAsFreed(block);
    next(block);
}

INTERPOSED void operator delete(void* block, size_t) noexcept {
    operator delete(block);
}

INTERPOSED void operator delete[](void* block, size_t) noexcept {
    operator delete[](block);
}
