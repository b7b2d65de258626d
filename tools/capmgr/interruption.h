/*
 * Ctrl-C and its kin (SIGINT, SIGTERM, SIGHUP): the first one asks the command to come to its
 * proper end, the second ends the process at once.
 *
 * Made in main before any other thread, because it blocks the signals there and every later thread
 * inherits that; a thread of its own then takes them one by one. Handlers were the alternative:
 * they could not hold back the second signal while a file is half written.
 */
#ifndef CAPMGR_INTERRUPTION_H
#define CAPMGR_INTERRUPTION_H

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

/* How long a command that waits for something else may leave an interruption unnoticed. */
inline constexpr std::chrono::milliseconds kInterruptionTick{100};

class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /* True once a signal came. Any thread. */
    bool requested() const { return requested_.load(); }

    /* While the result lives, a second signal waits. Hold it for milliseconds only. */
    [[nodiscard]] std::unique_lock<std::mutex> defer() { return std::unique_lock(deferral_); }

    /* What a second signal does before it ends the process, on a thread of its own and in the midst
     * of whatever the others do; an empty one for nothing any more. */
    void setLastAct(std::function<void()> act);

  private:
    void takeSignals();

    sigset_t signals_{};
    std::atomic<bool> requested_{false};
    std::atomic<bool> ending_{false};
    std::mutex deferral_;
    std::function<void()> lastAct_;  // under deferral_
    std::thread taker_;              // last: it uses the others
};

#endif
