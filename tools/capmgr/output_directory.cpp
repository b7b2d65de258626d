#include "output_directory.h"

#include <fmt/format.h>

#include <system_error>

#include "failure.h"

namespace fs = std::filesystem;

OutputDirectory::OutputDirectory(const fs::path& path) {
    std::error_code error;
    fs::path reached;
    for (const fs::path& part : fs::absolute(path, error)) {
        reached /= part;
        if (!error && fs::create_directory(reached, error)) {
            created_.push_back(reached);
        }
    }
    if (!error) {
        path_ = fs::canonical(reached, error);
    }
    if (!error && !fs::is_directory(path_, error)) {
        error = std::make_error_code(std::errc::not_a_directory);
    }
    if (error) {
        removeCreated();
        throw Failure(
            fmt::format("cannot write into directory {}: {}", path.string(), error.message()));
    }
}

OutputDirectory::~OutputDirectory() {
    removeCreated();
}

void OutputDirectory::removeCreated() {
    std::error_code ignored;  // what is no longer empty, or already gone, stays so
    for (; !created_.empty(); created_.pop_back()) {
        fs::remove(created_.back(), ignored);
    }
}
