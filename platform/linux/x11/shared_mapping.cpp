#include "x11/shared_mapping.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
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

/* Sets the pages aside now: memory that runs out later would end this process or the server with a
 * bus error in the middle of an image. */
bool reserveAndSeal(int descriptor, std::size_t size) {
    int error = 0;
    do {
        error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    } while (error == EINTR);
    if (error != 0) {
        errno = error;
        return false;
    }
    return fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0;
}

}  // namespace

std::optional<DescriptorMemory> DescriptorMemory::create(std::size_t size) {
    const int descriptor = memfd_create("screen image", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor == -1)
        return std::nullopt;
    void* data = MAP_FAILED;
    if (reserveAndSeal(descriptor, size))
        data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (data == MAP_FAILED) {
        const int reason = errno;
        close(descriptor);
        errno = reason;
        return std::nullopt;
    }
    return DescriptorMemory{SharedMapping(SharedMapping::Kind::file, data, size), descriptor};
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
