/*
 * Has each allocation that the library makes, or has made, fail in turn: by itself, and with all
 * that follow. Each time in a process of its own, which then has to do the same without a fault.
 *
 *   PROGRAM [--every K] [--from N] [--scenario NAME]
 *
 * Exit status: 0 when all went on, 1 when not, 2 when the command is wrong.
 */
#include <CaptureManager.h>
#include <MonitorManager.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vqutilc.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "require.h"
#include "scenarios.h"
#include "shortage.h"

namespace {

using namespace std::chrono_literals;

constexpr unsigned kMostIndexes = 8;
constexpr unsigned kLongestRunS = 60;

enum Outcome : int { kWentOn = 0, kBroke = 1, kNothingFailed = 3 };

struct Options {
    std::size_t from = 1;
    std::size_t every = 1;
    std::string scenario;
};

struct Trial {
    const Scenario& scenario;
    shortage::Length length;
    std::size_t number;
};

std::string text(const Trial& trial) {
    return std::string(trial.scenario.name) + ", allocation " + std::to_string(trial.number) +
           (trial.length == shortage::Length::one ? "" : " and all that follow");
}

void printStack(int signal) {
    void* frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
    ::signal(signal, SIG_DFL);
    raise(signal);
}

void ignoreMessage(void*, int, const char*, int) {}

/* A thread that connects to the display server may wait for good: the X client library loses
 * replies for which it has no memory. */
bool isCaptureThread(const std::filesystem::path& task) {
    std::ifstream file(task / "comm");
    std::string name;
    return task.filename() != std::to_string(getpid()) && std::getline(file, name) &&
           name != "qor-connect";
}

bool hasCaptureThread() {
    using Entries = std::filesystem::directory_iterator;
    return std::any_of(Entries("/proc/self/task"), Entries(),
                       [](const auto& task) { return isCaptureThread(task.path()); });
}

void requireNoCaptureThread() {
    for (int i = 0; hasCaptureThread(); ++i) {
        require(i < 1000, "no capture thread is left");
        usleep(5000);
    }
}

void stopAll() {
    for (unsigned index = 0; index < kMostIndexes; ++index)
        CapMgr_StopCapture(index, 1);
}

/* The list is empty where there was no memory for it; it stays so for some seconds where the reply
 * was lost by which a connection is made. */
void requireMonitors() {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(15);
    for (CapMgr_UpdateMonitor(); CapMgr_GetMonitorCount() == 0; CapMgr_UpdateMonitor())
        require(Clock::now() < end, "displays are listed again");
}

/* The same once more, without a fault. */
int act(Stage& stage, const Trial& trial) {
    stage.enter();
    shortage::begin(trial.length, trial.number);
    trial.scenario.act(Doing(stage, false));
    const bool hasFailed = shortage::end();
    stopAll();
    requireMonitors();
    trial.scenario.act(Doing(stage, true));
    CMonitorManager::DeleteInstance();
    requireNoCaptureThread();
    stage.check();
    return hasFailed ? kWentOn : kNothingFailed;
}

[[noreturn]] void runChild(Stage& stage, const Trial& trial) {
    void* frames[1];
    backtrace(frames, 1);  // now, as the first call allocates
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGALRM})
        ::signal(signal, printStack);
    alarm(kLongestRunS);
    vq_set_trace_writer(ignoreMessage, nullptr);
    shortage::exemptThisThread();
    int outcome = kBroke;
    try {
        outcome = act(stage, trial);
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
    }
    _exit(outcome);
}

int outcomeOf(Stage& stage, const Trial& trial) {
    const pid_t child = fork();
    if (child == 0)
        runChild(stage, trial);
    int status = 0;
    require(child > 0 && waitpid(child, &status, 0) == child, "a process for the trial");
    if (WIFSIGNALED(status))
        std::cerr << "ended by signal " << WTERMSIG(status) << " (" << strsignal(WTERMSIG(status))
                  << ")\n";
    return WIFEXITED(status) ? WEXITSTATUS(status) : kBroke;
}

struct Tally {
    std::size_t trials = 0;
    std::size_t failures = 0;
};

/* Until there is no allocation of such a number any more. */
void tryAll(Stage& stage, const Scenario& scenario, shortage::Length length, const Options& options,
            Tally& tally) {
    std::size_t number = options.from;
    for (;; number += options.every) {
        const Trial trial{scenario, length, number};
        const int outcome = outcomeOf(stage, trial);
        ++tally.trials;
        if (outcome == kNothingFailed)
            break;
        if (outcome != kWentOn) {
            ++tally.failures;
            std::cerr << "FAILED: " << text(trial) << std::endl;
        }
    }
    std::cout << scenario.name << ": fewer than " << number << " allocations" << std::endl;
}

int run(const Options& options) {
    const std::unique_ptr<Stage> stage = makeStage();
    Tally tally;
    for (const Scenario& scenario : scenarios()) {
        if (!options.scenario.empty() && options.scenario != scenario.name)
            continue;
        for (const auto length : {shortage::Length::one, shortage::Length::lasting})
            tryAll(*stage, scenario, length, options, tally);
    }
    std::cout << tally.trials << " trials, " << tally.failures << " failed" << std::endl;
    return tally.trials > 0 && tally.failures == 0 ? 0 : 1;
}

std::optional<std::size_t> numberIn(std::string_view text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && number > 0;
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<Options> parse(int argc, char** argv) {
    Options options;
    if (argc % 2 == 0)
        return std::nullopt;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view name = argv[i];
        const std::optional<std::size_t> number = numberIn(argv[i + 1]);
        if (name == "--scenario")
            options.scenario = argv[i + 1];
        else if (name == "--from" && number)
            options.from = *number;
        else if (name == "--every" && number)
            options.every = *number;
        else
            return std::nullopt;
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    shortage::exemptThisThread();
    const std::optional<Options> options = parse(argc, argv);
    if (!options) {
        std::fprintf(stderr, "usage: %s [--every K] [--from N] [--scenario NAME]\n", argv[0]);
        return 2;
    }
    try {
        return run(*options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
