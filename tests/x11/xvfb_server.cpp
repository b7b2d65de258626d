#include "xvfb_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::seconds kStartBound{30};
constexpr std::chrono::seconds kEndBound{5};

class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return descriptor_; }
    void reset(int descriptor = -1) {
        if (descriptor_ != -1)
            close(descriptor_);
        descriptor_ = descriptor;
    }

  private:
    int descriptor_;
};

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error("the test needs an Xvfb server, which did not start: " + reason);
}

std::string systemReason(const char* what, int error) {
    return std::string(what) + ": " + std::strerror(error);
}

/* What the server wrote to standard error. */
std::string contents(const Descriptor& log) {
    std::string text(4096, '\0');
    const ssize_t length = pread(log.get(), text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

std::vector<std::string> commandLine(const std::string& screen, const Descriptor& numberEnd,
                                     const std::vector<std::string>& extraArguments) {
    // Without -noreset, the server forgets what was painted when its last client leaves, and is
    // deaf for a moment.
    std::vector<std::string> command{
        "Xvfb", "-displayfd", std::to_string(numberEnd.get()), "-screen", "0", screen, "-noreset"};
    if (!std::ranges::count(extraArguments, "-listen"))
        command.insert(command.end(), {"-nolisten", "tcp"});
    command.insert(command.end(), extraArguments.begin(), extraArguments.end());
    return command;
}

/* In the child, between fork and exec: only calls that are safe there. */
[[noreturn]] void becomeServer(char* const* arguments, pid_t parent, int numberEnd, int log) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(126);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    fcntl(numberEnd, F_SETFD, 0);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    execvp(arguments[0], arguments);
    const char* reason = std::strerror(errno);
    const auto ignored = write(STDERR_FILENO, reason, std::strlen(reason));
    static_cast<void>(ignored);
    _exit(127);
}

pid_t startServer(std::vector<std::string> command, const Descriptor& numberEnd,
                  const Descriptor& log) {
    std::vector<char*> arguments;
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == -1)
        fail(systemReason("fork", errno));
    if (child == 0)
        becomeServer(arguments.data(), parent, numberEnd.get(), log.get());
    return child;
}

/* The display number, which the server writes once clients can connect; empty if it ends, or is not
 * ready in time. */
std::string readNumber(const Descriptor& readEnd) {
    const auto deadline = std::chrono::steady_clock::now() + kStartBound;
    std::string number;
    while (number.empty() || number.back() != '\n') {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{readEnd.get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) <= 0)
            return {};
        char byte = 0;
        if (read(readEnd.get(), &byte, 1) != 1)
            return {};
        number += byte;
    }
    number.pop_back();
    return number;
}

bool hasEnded(pid_t pid) {
    const pid_t ended = waitpid(pid, nullptr, WNOHANG);
    return ended == pid || (ended == -1 && errno != EINTR);
}

/* Asked to end, the server takes its socket and lock away itself: doing that for it could hit those
 * of another server that has taken the number over. */
void endProcess(pid_t pid) {
    kill(pid, SIGTERM);
    kill(pid, SIGCONT);  // in case a test stopped it
    const auto deadline = std::chrono::steady_clock::now() + kEndBound;
    while (std::chrono::steady_clock::now() < deadline) {
        if (hasEnded(pid))
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(pid, SIGKILL);
    while (waitpid(pid, nullptr, 0) == -1 && errno == EINTR) {
    }
}

}  // namespace

XvfbServer::XvfbServer(const std::string& screen, std::vector<std::string> extraArguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == -1)
        fail(systemReason("pipe", errno));
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    const Descriptor log(memfd_create("Xvfb log", MFD_CLOEXEC));
    pid_ = startServer(commandLine(screen, writeEnd, extraArguments), writeEnd, log);
    writeEnd.reset();  // so that reading ends if the server does
    number_ = readNumber(readEnd);
    if (number_.empty()) {
        endProcess(std::exchange(pid_, -1));
        fail(contents(log));
    }
}

XvfbServer::~XvfbServer() {
    endProcess(pid_);
}
