#include "output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "failure.h"

namespace fs = std::filesystem;

namespace {

Failure cannotWrite(const fs::path& path, const std::string& reason) {
    return Failure(fmt::format("cannot write {}: {}", path.string(), reason));
}

Failure cannotWrite(const fs::path& path, int error) {
    return cannotWrite(path, std::generic_category().message(error));
}

/* A new file in the directory of its target, removed unless it took the target's name. */
class Temporary {
  public:
    explicit Temporary(const fs::path& target) : target_(target) {
        open();
        if (descriptor_ < 0) {
            throw cannotWrite(target, errno);
        }
    }

    ~Temporary() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
        if (!path_.empty()) {
            unlink(path_.c_str());
        }
    }

    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    void append(std::span<const char> bytes) const {
        while (!bytes.empty()) {
            const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR) {
                throw cannotWrite(target_, errno);
            }
            bytes = bytes.subspan(written < 0 ? 0 : static_cast<std::size_t>(written));
        }
    }

    // Some file systems report a full disk at close and not before.
    void becomeTarget() {
        const int closed = close(descriptor_);
        descriptor_ = -1;
        if (closed != 0 || std::rename(path_.c_str(), target_.c_str()) != 0) {
            throw cannotWrite(target_, errno);
        }
        path_.clear();
    }

  private:
    // The name does not contain the target's, which may be as long as a name can be. A name that is
    // taken is what a killed process with the same id left; the next number is free.
    void open() {
        constexpr int kAttempts = 100;
        for (int attempt = 0; attempt < kAttempts && descriptor_ < 0; ++attempt) {
            const fs::path path =
                target_.parent_path() / fmt::format(".capmgr-{}-{}.tmp", getpid(), attempt);
            descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor_ >= 0) {
                path_ = path;
            } else if (errno != EEXIST) {
                return;
            }
        }
    }

    fs::path target_;
    fs::path path_;
    int descriptor_ = -1;
};

fs::path resolve(const fs::path& path) {
    std::error_code error;
    if (!path.has_filename()) {
        throw cannotWrite(path, EISDIR);
    }
    if (fs::is_symlink(path, error)) {
        fs::path followed = fs::canonical(path, error);
        if (error) {
            throw cannotWrite(path, error.message());
        }
        return followed;
    }
    const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const fs::path directory = fs::canonical(parent, error);
    if (error) {
        throw cannotWrite(path, fmt::format("{}: {}", parent.string(), error.message()));
    }
    return directory / path.filename();
}

// Renaming onto a device or a pipe would replace it, which nobody means.
void refuseUnfitTarget(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        throw cannotWrite(path, EISDIR);
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw cannotWrite(path, "it exists and is not a regular file");
    }
    if (fs::exists(status) && access(path.c_str(), W_OK) != 0) {
        throw cannotWrite(path, errno);
    }
}

}  // namespace

OutputFile::OutputFile(const fs::path& path) : path_(resolve(path)) {
    refuseUnfitTarget(path_);
    const Temporary probe(path_);
}

void OutputFile::write(std::span<const char> bytes, Interruption& interruption) const {
    const std::unique_lock<std::mutex> whole = interruption.defer();
    Temporary temporary(path_);
    temporary.append(bytes);
    temporary.becomeTarget();
}
