#include "recording_target.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "failure.h"
#include "output_file.h"
#include "recording_format.h"

namespace fs = std::filesystem;

namespace {

// Nothing tells that a pipe has got its reader.
constexpr std::chrono::milliseconds kReaderPeriod{50};

void refuseTerminal() {
    if (isatty(STDOUT_FILENO) == 1) {
        throw Failure(
            "standard output is a terminal, which can show no recording: send it into a pipe or a "
            "file, or name a file in place of '-'",
            ExitStatus::BadUsage);
    }
}

int openPipe(const std::string& file, const Interruption& interruption) {
    while (true) {
        const int descriptor = ::open(file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor >= 0 || errno != ENXIO) {
            return descriptor;
        }
        if (interruption.requested()) {
            throw Failure(fmt::format("interrupted before anybody read from {}", file));
        }
        std::this_thread::sleep_for(kReaderPeriod);
    }
}

// Of a pipe that was opened not to wait for it, here or by whoever made it.
void awaitRoom(int descriptor) {
    pollfd end{descriptor, POLLOUT, 0};
    poll(&end, 1, -1);
}

}  // namespace

RecordingTarget::RecordingTarget(const std::string& file, const Interruption& interruption) {
    std::error_code ignored;
    const fs::file_status status = fs::status(file, ignored);
    const bool isOther =
        fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
    if (file == kStandardOutput || isOther) {
        openAtOnce(file, interruption);
        return;
    }
    path_ = OutputFile(file).path();
    name_ = path_.string();
}

RecordingTarget::~RecordingTarget() {
    close();
}

void RecordingTarget::openAtOnce(const std::string& file, const Interruption& interruption) {
    if (file == kStandardOutput) {
        refuseTerminal();
        name_ = "to standard output";
        descriptor_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    } else {
        name_ = file;
        descriptor_ = fs::is_fifo(file) ? openPipe(file, interruption)
                                        : ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    }
    if (descriptor_ < 0) {
        throw Failure(
            fmt::format("cannot write {}: {}", name_, std::generic_category().message(errno)));
    }
}

int RecordingTarget::open() {
    if (!isFile()) {
        return 0;
    }
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return descriptor_ < 0 ? errno : 0;
}

int RecordingTarget::write(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EAGAIN) {
            awaitRoom(descriptor_);
        } else if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes = bytes.subspan(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

int RecordingTarget::seek(std::int64_t position) const {
    return lseek(descriptor_, position, SEEK_SET) < 0 ? errno : 0;
}

// Some file systems report a full disk at close and not before.
int RecordingTarget::close() {
    if (descriptor_ < 0) {
        return 0;
    }
    const int result = ::close(descriptor_);
    descriptor_ = -1;
    return result == 0 ? 0 : errno;
}

// Where even that fails, what was torn stays at the file's end.
void RecordingTarget::cutTo(std::int64_t size) const {
    while (ftruncate(descriptor_, size) != 0 && errno == EINTR) {
    }
}

void RecordingTarget::remove() {
    close();
    unlink(path_.c_str());
}
