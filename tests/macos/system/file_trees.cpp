// What walking, copying and removing trees of files asks for: paths below a directory, whose flags
// have other numbers, the copy of a file's bytes, and the space left.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>

#include "cancellation.h"
#include "files.h"
#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kHere = -2;  // AT_FDCWD
constexpr int kLinkItself = 0x20;
constexpr int kDirectoryToo = 0x80;
constexpr long kNow = -1;
constexpr long kLeft = -2;

int nativeDirectory(int directory) {
    return directory == kHere ? AT_FDCWD : directory;
}

int nativeFlags(int flags) {
    return ((flags & kLinkItself) != 0 ? AT_SYMLINK_NOFOLLOW : 0) |
           ((flags & kDirectoryToo) != 0 ? AT_REMOVEDIR : 0);
}

int openBelow(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = creationMode(flags, arguments);
    va_end(arguments);
    testCancellation();
    const int native = nativeOpenFlags(flags);
    return native < 0 ? -1 : openat(nativeDirectory(directory), path, native, mode);
}

// A directory that is not to be removed as one is refused with EPERM.
int unlinkBelow(int directory, const char* path, int flags) {
    const int result = unlinkat(nativeDirectory(directory), path, nativeFlags(flags));
    if (result != 0 && errno == EISDIR) {
        errno = EPERM;
    }
    return result;
}

int changeModeBelow(int directory, const char* path, mode_t mode, int flags) {
    return fchmodat(nativeDirectory(directory), path, mode, nativeFlags(flags));
}

timespec nativeTime(const timespec& time) {
    if (time.tv_nsec == kNow) {
        return {0, UTIME_NOW};
    }
    return time.tv_nsec == kLeft ? timespec{0, UTIME_OMIT} : time;
}

int changeTimesBelow(int directory, const char* path, const timespec* times, int flags) {
    if (times == nullptr) {
        return utimensat(nativeDirectory(directory), path, nullptr, nativeFlags(flags));
    }
    const std::array<timespec, 2> native{nativeTime(times[0]), nativeTime(times[1])};
    return utimensat(nativeDirectory(directory), path, native.data(), nativeFlags(flags));
}

struct FileSystem {
    unsigned long blockSize;
    unsigned long fragmentSize;
    uint32_t blocks;
    uint32_t freeBlocks;
    uint32_t availableBlocks;
    uint32_t files;
    uint32_t freeFiles;
    uint32_t availableFiles;
    unsigned long id;
    unsigned long flags;
    unsigned long longestName;
};

static_assert(sizeof(FileSystem) == 64);
static_assert(ST_RDONLY == 1 && ST_NOSUID == 2);

// Counts are 32 bits wide: the largest stands for all beyond.
uint32_t counted(uint64_t count) {
    return static_cast<uint32_t>(std::min<uint64_t>(count, std::numeric_limits<uint32_t>::max()));
}

int fileSystemOf(const char* path, FileSystem* result) {
    struct statvfs native {};
    if (statvfs(path, &native) != 0) {
        return -1;
    }
    *result = {native.f_bsize,
               native.f_frsize,
               counted(native.f_blocks),
               counted(native.f_bfree),
               counted(native.f_bavail),
               counted(native.f_files),
               counted(native.f_ffree),
               counted(native.f_favail),
               native.f_fsid,
               native.f_flag & (ST_RDONLY | ST_NOSUID),
               native.f_namemax};
    return 0;
}

constexpr uint32_t kCopyData = 8;

struct CopyState {
    int copies;
};

CopyState* allocateCopyState() {
    return new CopyState{0};
}

int freeCopyState(CopyState* state) {
    delete state;
    return 0;
}

// Bytes only, from where both files stand; with rights and attributes it does not copy.
int copyFile(int from, int to, CopyState*, uint32_t what) {
    if (what != kCopyData) {
        errno = ENOTSUP;
        return -1;
    }
    std::array<char, 16384> bytes;
    ssize_t size = 0;
    while ((size = read(from, bytes.data(), bytes.size())) > 0) {
        for (ssize_t written = 0; written < size;) {
            const ssize_t more =
                write(to, bytes.data() + written, static_cast<size_t>(size - written));
            if (more < 0) {
                return -1;
            }
            written += more;
        }
    }
    return size < 0 ? -1 : 0;
}

const Registration registration{
    symbol("_openat", openBelow),
    symbol("_unlinkat", unlinkBelow),
    symbol("_fchmodat", changeModeBelow),
    symbol("_utimensat", changeTimesBelow),
    symbol("_statvfs", fileSystemOf),
    symbol("_fcopyfile", copyFile),
    symbol("_copyfile_state_alloc", allocateCopyState),
    symbol("_copyfile_state_free", freeCopyState),
};

}  // namespace
}  // namespace system_library
