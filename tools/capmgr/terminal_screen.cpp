#include "terminal_screen.h"

#include <poll.h>
#include <unistd.h>

#include <cstring>

#include "display_text.h"

namespace {

constexpr const char* kOwnScreen = "\x1b[?1049h\x1b[?25l";  // and no cursor
constexpr const char* kScreenBefore = "\x1b[?25h\x1b[?1049l";
constexpr const char* kHome = "\x1b[H";
constexpr const char* kRestOfLine = "\x1b[K";
constexpr const char* kRestOfScreen = "\x1b[J";

/* Single keys without echo. None where standard input is no terminal, or another job's: changing
 * it would stop the program. */
std::optional<termios> takeKeys() {
    termios before{};
    if (tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &before) != 0) {
        return std::nullopt;
    }
    termios keys = before;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VSUSP] = _POSIX_VDISABLE;  // a stopped program would leave its screen behind
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    return before;
}

}  // namespace

TerminalScreen::TerminalScreen(Console& console, Interruption& interruption)
    : console_(console), interruption_(interruption), before_(takeKeys()) {
    interruption_.setLastAct([this] { leave(); });
    console_.write(kOwnScreen);
}

TerminalScreen::~TerminalScreen() {
    leave();
    interruption_.setLastAct({});
}

// Not by the console, which the main thread may be writing to.
void TerminalScreen::leave() const {
    [[maybe_unused]] const auto written =
        write(STDOUT_FILENO, kScreenBefore, std::strlen(kScreenBefore));
    if (before_) {
        tcsetattr(STDIN_FILENO, TCSANOW, &*before_);
    }
}

void TerminalScreen::show(const std::vector<Line>& lines) {
    const std::size_t columns = console_.columns();
    std::string text = kHome;
    std::size_t room = console_.rows();
    for (const Line& line : lines) {
        if (room == 0) {
            break;
        }
        room -= 1;
        const std::string name = cutToWidth(printable(line.name), columns);
        const std::size_t left = columns - displayWidth(name);
        text += console_.styled(name, line.style) + cutToWidth(printable(line.value), left) +
                kRestOfLine + (room == 0 ? "" : "\r\n");
    }
    console_.write(text + kRestOfScreen);
}

std::optional<char> TerminalScreen::takeKey() const {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    if (!before_ || poll(&input, 1, 0) != 1 || read(STDIN_FILENO, &key, 1) != 1) {
        return std::nullopt;
    }
    return key;
}
