#include "frame_path_worker.h"

#include <fmt/format.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <stdexcept>

#include "frame_path_board.h"

namespace qor::bench {

namespace {

constexpr int64_t kPollNs = 2'000'000;
constexpr int64_t kBoundNs = 20 * kNsPerSecond;

volatile sig_atomic_t endSignal = 0;

void noteEndSignal(int number) {
    endSignal = number;
}

}  // namespace

void heedSignals() {
    struct sigaction action {};
    action.sa_handler = noteEndSignal;  // without SA_RESTART: waits are broken off
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
}

void waitUntil(int64_t timeNs) {
    const timespec time{timeNs / kNsPerSecond, timeNs % kNsPerSecond};
    while (endSignal == 0 &&
           clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) == EINTR) {
    }
    if (endSignal != 0) {
        throw std::runtime_error(fmt::format("ended by signal {}", int{endSignal}));
    }
}

CpuClock::CpuClock(pid_t process) {
    if (clock_getcpuclockid(process, &clock_) != 0) {
        throw std::runtime_error("a process has no clock");
    }
}

double CpuClock::seconds() const {
    timespec time{};
    if (clock_gettime(clock_, &time) != 0) {
        throw std::runtime_error("a process ended while it was measured");
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Worker::Worker(std::string name, std::vector<std::string> command,
               const std::map<std::string, std::string>& environment)
    : name_(std::move(name)), program_(std::move(command), environment) {}

void Worker::waitFor(const std::function<bool()>& isDone) {
    const int64_t end = nowNs() + kBoundNs;
    while (!isDone()) {
        if (program_.hasEnded()) {
            fail("ended too early");
        }
        if (nowNs() > end) {
            fail("does not do what it was to do");
        }
        waitUntil(nowNs() + kPollNs);
    }
}

void Worker::waitForEnd() {
    const int64_t end = nowNs() + kBoundNs;
    while (!program_.hasEnded()) {
        if (nowNs() > end) {
            fail("does not end");
        }
        waitUntil(nowNs() + kPollNs);
    }
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(pid()), &state, WEXITED | WNOHANG | WNOWAIT);
    if (state.si_code != CLD_EXITED || state.si_status != 0) {
        fail("failed");
    }
}

void Worker::fail(const std::string& what) const {
    throw std::runtime_error(fmt::format("{} {}: {}", name_, what, output()));
}

}  // namespace qor::bench
