#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace {

constexpr std::chrono::seconds kLongest{60};

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

struct Ends {
    int reading;
    int writing;
};

Ends makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail("pipe");
    }
    return {ends[0], ends[1]};
}

Ends makeTerminal() {
    Ends ends{};
    const winsize size{24, 100, 0, 0};
    if (openpty(&ends.reading, &ends.writing, nullptr, nullptr, &size) != 0) {
        fail("openpty");
    }
    fcntl(ends.reading, F_SETFD, FD_CLOEXEC);
    return ends;
}

Ends makeOutput(OutputKind kind) {
    switch (kind) {
        case OutputKind::Pipe:
            return makePipe();
        case OutputKind::Terminal:
            return makeTerminal();
        case OutputKind::FullDisk:
            break;
    }
    return {-1, open("/dev/full", O_WRONLY | O_CLOEXEC)};
}

// Reads what is there; closes the descriptor at its end, which a terminal reports as an error.
void drain(int& descriptor, std::string& text) {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
        return;
    }
    close(std::exchange(descriptor, -1));
}

}  // namespace

ChildProcess::ChildProcess(const ChildSetup& setup) {
    const Ends output = makeOutput(setup.output);
    const Ends errors = makePipe();
    child_ = fork();
    if (child_ < 0) {
        fail("fork");
    }
    if (child_ == 0) {
        becomeProgram(setup, output.writing, errors.writing);
    }
    close(output.writing);
    close(errors.writing);
    output_ = output.reading;
    errors_ = errors.reading;
}

ChildProcess::~ChildProcess() {
    if (child_ > 0) {
        send(SIGKILL);
        reap();
    }
    closeOutput();
    if (errors_ >= 0) {
        close(errors_);
    }
}

bool ChildProcess::awaitOutput(const std::string& text) {
    return awaitOutput(
        [&text](const std::string& output) { return output.find(text) != std::string::npos; });
}

bool ChildProcess::awaitOutput(const std::function<bool(const std::string&)>& isReached) {
    const auto deadline = std::chrono::steady_clock::now() + kLongest;
    while (!isReached(result_.output)) {
        if (output_ < 0 || !readSome(deadline)) {
            return false;
        }
    }
    return true;
}

void ChildProcess::closeOutput() {
    if (output_ >= 0) {
        close(std::exchange(output_, -1));
    }
}

ChildResult ChildProcess::finish() {
    const auto deadline = std::chrono::steady_clock::now() + kLongest;
    while (output_ >= 0 || errors_ >= 0) {
        if (!readSome(deadline)) {
            send(SIGKILL);
            result_.errors += "(killed by the test: it took too long)\n";
            break;
        }
    }
    result_.status = reap();
    return result_;
}

// Between fork and exec. A test that is killed takes the child along.
void ChildProcess::becomeProgram(const ChildSetup& setup, int output, int errors) const {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : setup.command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    setup.display.empty() ? unsetenv("DISPLAY") : setenv("DISPLAY", setup.display.c_str(), 1);
    setenv("TERM", "xterm", 1);
    if (chdir(setup.directory.c_str()) == 0) {
        execv(arguments[0], arguments.data());
    }
    _exit(127);
}

void ChildProcess::send(int signal) const {
    ::kill(child_, signal);
}

bool ChildProcess::readSome(std::chrono::steady_clock::time_point deadline) {
    using std::chrono::milliseconds;
    const auto left =
        std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    std::array<pollfd, 2> ends{{{output_, POLLIN, 0}, {errors_, POLLIN, 0}}};
    if (left <= 0 || poll(ends.data(), ends.size(), static_cast<int>(left)) <= 0) {
        return false;
    }
    if (ends[0].revents != 0) {
        drain(output_, result_.output);
    }
    if (ends[1].revents != 0) {
        drain(errors_, result_.errors);
    }
    return true;
}

int ChildProcess::reap() {
    int status = 0;
    waitpid(std::exchange(child_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ChildResult runToEnd(const ChildSetup& setup) {
    return ChildProcess(setup).finish();
}
