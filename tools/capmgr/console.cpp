#include "console.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "failure.h"

void Console::write(std::string_view text) {
    if (error_ != 0) {
        return;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), stream_) == text.size();
    if (!written || std::fflush(stream_) != 0) {
        error_ = errno;
    }
}

void Console::finish() const {
    if (error_ != 0) {
        throw Failure(fmt::format("cannot write to standard output: {}", std::strerror(error_)));
    }
}

bool Console::isInteractive() const {
    const char* const terminal = std::getenv("TERM");
    const bool dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return !dumb && isatty(fileno(stream_)) == 1;
}

std::size_t Console::columns() const {
    constexpr std::size_t kUsual = 80;
    winsize size{};
    if (ioctl(fileno(stream_), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return kUsual;
    }
    return size.ws_col;
}

std::optional<std::size_t> Console::lineWidth() const {
    return isatty(fileno(stream_)) == 1 ? std::optional(columns()) : std::nullopt;
}
