#include "x11/shared_mapping.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <utility>

namespace qor::x11 {

SharedMapping::SharedMapping(SharedMapping&& other) noexcept
    : kind_(other.kind_), data_(std::exchange(other.data_, nullptr)), size_(other.size_) {}

SharedMapping::~SharedMapping() {
    if (data_ == nullptr)
        return;
    if (kind_ == Kind::file)
        munmap(data_, size_);
    else
        shmdt(data_);
}

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr int kMakeLarge = 25;  // MADV_COLLAPSE, which not every C library names

/* Memory of a large page and more takes whole ones. */
std::size_t wholePages(std::size_t size) {
    return size < kLargePage ? size : (size + kLargePage - 1) / kLargePage * kLargePage;
}

std::byte* mapAt(std::byte* address, int descriptor, std::size_t size) {
    void* data = mmap(address, size, PROT_READ | PROT_WRITE,
                      address == nullptr ? MAP_SHARED : MAP_SHARED | MAP_FIXED, descriptor, 0);
    return data == MAP_FAILED ? nullptr : static_cast<std::byte*>(data);
}

/* Maps it where a large page may begin, which the system does not see to by itself. */
std::byte* mapForLargePages(int descriptor, std::size_t size) {
    void* place = mmap(nullptr, size + kLargePage, PROT_NONE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (place == MAP_FAILED)
        return nullptr;
    auto* const start = static_cast<std::byte*>(place);
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(start) % kLargePage;
    std::byte* data = mapAt(start + before, descriptor, size);
    const int reason = errno;
    if (data == nullptr)
        munmap(start, size + kLargePage);
    else {
        if (before > 0)
            munmap(start, before);
        munmap(data + size, kLargePage - before);
    }
    errno = reason;
    return data;
}

int setAside(int descriptor, std::size_t offset, std::size_t size) {
    int error = 0;
    do {
        error = posix_fallocate(descriptor, static_cast<off_t>(offset), static_cast<off_t>(size));
    } while (error == EINTR);
    return error;
}

/* Has the system make it of large pages, which the server's mapping then is of as well if it begins
 * where one may begin: fewer pages are looked up when an image is drawn and read, a quarter of what
 * copying it takes. Each needs a page to begin with. It may well do nothing. */
void preferLargePages(int descriptor, std::byte* data, std::size_t size) {
    for (std::size_t offset = 0; offset < size; offset += kLargePage) {
        if (setAside(descriptor, offset, 1) != 0)
            return;
    }
    madvise(data, size, kMakeLarge);
}

/* The memory's pages are set aside now: memory that runs out later would end this process or the
 * server with a bus error in the middle of an image. */
std::byte* mapReserved(int descriptor, std::size_t size) {
    if (ftruncate(descriptor, static_cast<off_t>(size)) != 0)
        return nullptr;
    const bool isLarge = size >= kLargePage;
    std::byte* data =
        isLarge ? mapForLargePages(descriptor, size) : mapAt(nullptr, descriptor, size);
    if (data == nullptr)
        return nullptr;
    if (isLarge)
        preferLargePages(descriptor, data, size);
    const int error = setAside(descriptor, 0, size);
    if (error == 0 &&
        fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0)
        return data;
    const int reason = error != 0 ? error : errno;
    munmap(data, size);
    errno = reason;
    return nullptr;
}

}  // namespace

std::optional<DescriptorMemory> DescriptorMemory::create(std::size_t size) {
    const int descriptor = memfd_create("screen image", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor == -1)
        return std::nullopt;
    const std::size_t whole = wholePages(size);
    std::byte* data = mapReserved(descriptor, whole);
    if (data == nullptr) {
        const int reason = errno;
        close(descriptor);
        errno = reason;
        return std::nullopt;
    }
    return DescriptorMemory{SharedMapping(SharedMapping::Kind::file, data, whole), descriptor};
}

std::optional<IdentifierMemory> IdentifierMemory::create(std::size_t size) {
    const int identifier = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    if (identifier == -1)
        return std::nullopt;
    void* data = shmat(identifier, nullptr, 0);
    const int reason = errno;
    // Linux lets others attach by identifier even after this.
    shmctl(identifier, IPC_RMID, nullptr);
    if (data == reinterpret_cast<void*>(-1)) {
        errno = reason;
        return std::nullopt;
    }
    return IdentifierMemory{SharedMapping(SharedMapping::Kind::systemV, data, size), identifier};
}

}  // namespace qor::x11
