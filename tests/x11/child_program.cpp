#include "child_program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::seconds kEndBound{5};

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text(*entry);
        if (!changes.contains(text.substr(0, text.find('='))))
            environment.push_back(text);
    }
    for (const auto& [name, value] : changes) {
        std::string entry = name;
        environment.push_back(entry.append("=").append(value));
    }
    return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/* In the child, between fork and exec: only calls that are safe there. */
[[noreturn]] void become(char* const* command, char* const* environment, pid_t parent, int log) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(126);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    execvpe(command[0], command, environment);
    const char* reason = std::strerror(errno);
    const auto ignored = write(STDERR_FILENO, reason, std::strlen(reason));
    static_cast<void>(ignored);
    _exit(127);
}

}  // namespace

ChildProgram::ChildProgram(std::vector<std::string> command,
                           const std::map<std::string, std::string>& environment)
    : log_(memfd_create("program log", MFD_CLOEXEC)) {
    auto variables = environmentWith(environment);
    const auto arguments = pointersTo(command);
    const auto settings = pointersTo(variables);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == -1) {
        const int error = errno;
        close(log_);
        throw std::runtime_error(std::string("fork: ") + std::strerror(error));
    }
    if (pid_ == 0)
        become(arguments.data(), settings.data(), parent, log_);
}

ChildProgram::~ChildProgram() {
    kill(pid_, SIGTERM);
    kill(pid_, SIGCONT);  // in case a test stopped it
    const auto deadline = std::chrono::steady_clock::now() + kEndBound;
    while (!hasEnded() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (!hasEnded())
        kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) == -1 && errno == EINTR) {
    }
    close(log_);
}

/* Without reaping it, so that its process id stays its own until it is ended. */
bool ChildProgram::hasEnded() {
    siginfo_t state{};
    const int result = waitid(P_PID, static_cast<id_t>(pid_), &state, WEXITED | WNOHANG | WNOWAIT);
    return (result == 0 && state.si_pid == pid_) || (result == -1 && errno != EINTR);
}

std::string ChildProgram::output() const {
    std::string text(4096, '\0');
    const ssize_t length = pread(log_, text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}
