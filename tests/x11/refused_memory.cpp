#include "refused_memory.h"

#include <sys/mman.h>
#include <sys/shm.h>

#include <atomic>
#include <cerrno>
#include <string_view>

#include "../contract/next_definition.h"

namespace {

std::atomic<bool> refusesDescriptors = false;
std::atomic<bool> refusesIdentifiers = false;
std::atomic<unsigned> refused = 0;

int refuse() {
    ++refused;
    errno = ENOMEM;
    return -1;
}

}  // namespace

RefusedMemory::RefusedMemory(Kind kind) {
    refused = 0;
    refusesDescriptors = true;
    refusesIdentifiers = kind == Kind::any;
}

RefusedMemory::~RefusedMemory() {
    refusesDescriptors = refusesIdentifiers = false;
}

unsigned RefusedMemory::refusals() {
    return refused;
}

INTERPOSED int memfd_create(const char* name, unsigned flags) noexcept {
    using Function = int (*)(const char*, unsigned);
    static const auto next = nextDefinition<Function>("memfd_create");
    const bool isForImages = std::string_view(name) == "screen image";
    return refusesDescriptors && isForImages ? refuse() : next(name, flags);
}

INTERPOSED int shmget(key_t key, size_t size, int flags) noexcept {
    using Function = int (*)(key_t, size_t, int);
    static const auto next = nextDefinition<Function>("shmget");
    return refusesIdentifiers ? refuse() : next(key, size, flags);
}
