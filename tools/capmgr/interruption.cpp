#include "interruption.h"

#include <pthread.h>
#include <unistd.h>

#include <utility>

Interruption::Interruption() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    sigaddset(&signals_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    taker_ = std::thread([this] { takeSignals(); });
}

Interruption::~Interruption() {
    ending_ = true;
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread): blocked, it wakes the thread from sigwait
    pthread_kill(taker_.native_handle(), SIGTERM);
    taker_.join();
}

void Interruption::setLastAct(std::function<void()> act) {
    const std::unique_lock<std::mutex> noSuddenEnd = defer();
    lastAct_ = std::move(act);
}

void Interruption::takeSignals() {
    int signal = 0;
    while (sigwait(&signals_, &signal) == 0) {
        if (ending_) {
            return;
        }
        if (requested_.exchange(true)) {
            [[maybe_unused]] const std::unique_lock<std::mutex> noFileHalfWritten = defer();
            if (lastAct_) {
                lastAct_();
            }
            _exit(128 + signal);
        }
    }
}
