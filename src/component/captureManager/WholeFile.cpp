#include "WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr int kOpenFlags =
    O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t kAnyoneButTheMask = 0666;
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;  // more at once some systems refuse

bool isRegularFile(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

WholeFile::WholeFile(const char* path) : path_(path) {
    if (path == nullptr) {
        return;
    }
    const int descriptor = open(path, kOpenFlags, kAnyoneButTheMask);
    if (descriptor == -1) {
        return;
    }
    if (!isRegularFile(descriptor)) {
        close(descriptor);
        return;
    }
    descriptor_ = descriptor;
}

WholeFile::~WholeFile() {
    if (descriptor_ == -1) {
        return;
    }
    // Emptied as well: it may have another name, or stand in a folder that nobody may change.
    [[maybe_unused]] const bool isEmptied = !isWhole_ && ftruncate(descriptor_, 0) == 0;
    const bool isClosed = close(descriptor_) == 0;
    if (!isWhole_ || !isClosed) {
        unlink(path_);
    }
}

void WholeFile::write(const unsigned char* data, std::size_t size) {
    while (descriptor_ != -1 && isWhole_ && size > 0) {
        const ssize_t written = ::write(descriptor_, data, std::min(size, kMostAtOnce));
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        } else {
            isWhole_ = written == -1 && errno == EINTR;
        }
    }
}
