#include "console.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "failure.h"

namespace {

winsize terminalSize(std::FILE* stream) {
    constexpr winsize kUsual{24, 80, 0, 0};
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return kUsual;
    }
    return size;
}

const char* codeOf(Style style) {
    switch (style) {
        case Style::Plain:
            break;
        case Style::Heading:
            return "1";
        case Style::Good:
            return "32";
        case Style::Note:
            return "33";
        case Style::Error:
            return "31";
    }
    return "";
}

}  // namespace

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
        throw Failure(fmt::format("cannot write to standard output: {}",
                                  std::generic_category().message(error_)));
    }
}

bool Console::isInteractive() const {
    const char* const terminal = std::getenv("TERM");
    const bool dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return !dumb && isatty(fileno(stream_)) == 1;
}

std::size_t Console::columns() const {
    return terminalSize(stream_).ws_col;
}

std::size_t Console::rows() const {
    return terminalSize(stream_).ws_row;
}

std::optional<std::size_t> Console::lineWidth() const {
    return isatty(fileno(stream_)) == 1 ? std::optional(columns()) : std::nullopt;
}

void Console::note(std::string_view line) {
    write(fmt::format("{} {}\n", styled("note:", Style::Note), line));
}

std::string Console::styled(std::string_view text, Style style) const {
    if (style == Style::Plain || text.empty() || !isColored()) {
        return std::string(text);
    }
    return fmt::format("\x1b[{}m{}\x1b[0m", codeOf(style), text);
}

bool Console::isColored() const {
    const char* const refused = std::getenv("NO_COLOR");
    switch (color_) {
        case ColorUse::Always:
            return true;
        case ColorUse::Never:
            return false;
        case ColorUse::Auto:
            break;
    }
    return (refused == nullptr || *refused == '\0') && isInteractive();
}
