// Files by descriptor: the open flags, fcntl commands and the layout of stat differ. The plain
// names of open, close, read and write are cancellation points, the $NOCANCEL ones are not.
#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "cancellation.h"
#include "symbol_table.h"

namespace system_library {
namespace {

struct Flag {
    int mac;
    int native;
};

constexpr int kAccessMode = 3;
constexpr int kCreate = 0x200;

constexpr std::array<Flag, 11> kFlags{{
    {0x4, O_NONBLOCK},
    {0x8, O_APPEND},
    {0x40, O_ASYNC},
    {0x80, O_SYNC},
    {0x100, O_NOFOLLOW},
    {kCreate, O_CREAT},
    {0x400, O_TRUNC},
    {0x800, O_EXCL},
    {0x20000, O_NOCTTY},
    {0x100000, O_DIRECTORY},
    {0x1000000, O_CLOEXEC},
}};

int macFlags(int native) {
    int mac = native & kAccessMode;
    for (const Flag& flag : kFlags) {
        if ((native & flag.native) == flag.native) {
            mac |= flag.mac;
        }
    }
    return mac;
}

int openAs(const char* path, int flags, unsigned mode) {
    const int native = nativeOpenFlags(flags);
    return native < 0 ? -1 : open(path, native, mode);
}

int openFile(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = creationMode(flags, arguments);
    va_end(arguments);
    testCancellation();
    return openAs(path, flags, mode);
}

int openFileAnyhow(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = creationMode(flags, arguments);
    va_end(arguments);
    return openAs(path, flags, mode);
}

int closeFile(int descriptor) {
    testCancellation();
    return close(descriptor);
}

// A descriptor that never blocks is never waited for.
bool blocks(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && (flags & O_NONBLOCK) == 0;
}

ssize_t readFile(int descriptor, void* buffer, size_t size) {
    testCancellation();
    if (blocks(descriptor)) {
        awaitDescriptor(descriptor, POLLIN);
    }
    return read(descriptor, buffer, size);
}

ssize_t writeFile(int descriptor, const void* buffer, size_t size) {
    testCancellation();
    if (blocks(descriptor)) {
        awaitDescriptor(descriptor, POLLOUT);
    }
    return write(descriptor, buffer, size);
}

constexpr int kDuplicateClosing = 67;  // F_DUPFD_CLOEXEC

// Commands 0 to 4 agree, the status flags that two of them carry do not. No record locks.
int controlFile(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const int argument = va_arg(arguments, int);
    va_end(arguments);
    switch (command) {
        case F_DUPFD:
        case F_GETFD:
        case F_SETFD:
            return fcntl(descriptor, command, argument);
        case F_GETFL: {
            const int flags = fcntl(descriptor, F_GETFL);
            return flags < 0 ? flags : macFlags(flags);
        }
        case F_SETFL:
            // The kernel ignores what cannot be changed, as macOS's does.
            return fcntl(descriptor, F_SETFL, nativeOpenFlags(argument & 0x4C));
        case kDuplicateClosing:
            return fcntl(descriptor, F_DUPFD_CLOEXEC, argument);
        default:
            errno = EINVAL;
            return -1;
    }
}

// A directory is refused with EPERM.
int unlinkFile(const char* path) {
    const int result = unlink(path);
    if (result != 0 && errno == EISDIR) {
        errno = EPERM;
    }
    return result;
}

// With 64-bit file numbers, the only layout of programs for macOS 10.6 and later.
struct Status {
    int32_t device;
    uint16_t mode;
    uint16_t links;
    uint64_t number;
    uint32_t user;
    uint32_t group;
    int32_t specialDevice;
    timespec accessed;
    timespec modified;
    timespec changed;
    timespec born;
    int64_t size;
    int64_t blocks;
    int32_t blockSize;
    uint32_t flags;
    uint32_t generation;
    int32_t spare;
    std::array<int64_t, 2> spares;
};

static_assert(sizeof(Status) == 144);
static_assert(offsetof(Status, accessed) == 32);
static_assert(offsetof(Status, size) == 96);

int hand(int result, const struct stat& native, Status* status) {
    if (result != 0) {
        return result;
    }
    *status = Status{};
    status->device = static_cast<int32_t>(native.st_dev);
    status->mode = static_cast<uint16_t>(native.st_mode);
    status->links = static_cast<uint16_t>(native.st_nlink);
    status->number = native.st_ino;
    status->user = native.st_uid;
    status->group = native.st_gid;
    status->specialDevice = static_cast<int32_t>(native.st_rdev);
    status->accessed = native.st_atim;
    status->modified = native.st_mtim;
    status->changed = native.st_ctim;
    status->born = native.st_ctim;  // the nearest that every file system here keeps
    status->size = native.st_size;
    status->blocks = native.st_blocks;
    status->blockSize = static_cast<int32_t>(native.st_blksize);
    return 0;
}

int statusOfPath(const char* path, Status* status) {
    struct stat native {};
    return hand(stat(path, &native), native, status);
}

int statusOfLink(const char* path, Status* status) {
    struct stat native {};
    return hand(lstat(path, &native), native, status);
}

int statusOfDescriptor(int descriptor, Status* status) {
    struct stat native {};
    return hand(fstat(descriptor, &native), native, status);
}

const Registration registration{
    symbol("_open", openFile),
    symbol("_open$NOCANCEL", openFileAnyhow),
    symbol("_close", closeFile),
    symbol("_close$NOCANCEL", close),
    symbol("_read", readFile),
    symbol("_read$NOCANCEL", read),
    symbol("_write", writeFile),
    symbol("_write$NOCANCEL", write),
    symbol("_fcntl", controlFile),
    symbol("_fcntl$NOCANCEL", controlFile),
    symbol("_unlink", unlinkFile),
    symbol("_stat$INODE64", statusOfPath),
    symbol("_lstat$INODE64", statusOfLink),
    symbol("_fstat$INODE64", statusOfDescriptor),
    symbol("_realpath", realpath),
    symbol("_realpath$DARWIN_EXTSN", realpath),
};

}  // namespace

int nativeOpenFlags(int macFlags) {
    int native = macFlags & kAccessMode;
    int left = macFlags & ~kAccessMode;
    for (const Flag& flag : kFlags) {
        if ((macFlags & flag.mac) != 0) {
            native |= flag.native;
            left &= ~flag.mac;
        }
    }
    if (left != 0) {
        errno = ENOTSUP;
        return -1;
    }
    return native;
}

unsigned creationMode(int macFlags, va_list arguments) {
    return (macFlags & kCreate) != 0 ? va_arg(arguments, unsigned) : 0;
}

}  // namespace system_library
