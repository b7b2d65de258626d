// The programs that a measurement starts, the time that they use, and waiting for them.
//
// To be used on the main thread, which the programs end with. A signal to end (Ctrl-C) makes what
// waits throw, and so ends them.
#ifndef QOR_BENCH_FRAME_PATH_WORKER_H
#define QOR_BENCH_FRAME_PATH_WORKER_H

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "child_program.h"

namespace qor::bench {

constexpr int64_t kNsPerSecond = 1'000'000'000;

// From now on signals to end make waiting throw.
void heedSignals();

// To a time of the board's clock.
void waitUntil(int64_t timeNs);

// Of all threads of a process, to the nanosecond.
class CpuClock {
  public:
    explicit CpuClock(pid_t process);

    // Throws when the process is gone.
    double seconds() const;

  private:
    clockid_t clock_{};
};

// A program that is expected to do something. Where it does not within 20 s, or ends before, the
// wait for it throws, with what it wrote.
class Worker {
  public:
    Worker(std::string name, std::vector<std::string> command,
           const std::map<std::string, std::string>& environment);

    pid_t pid() const { return program_.pid(); }

    // The beginning of what it wrote.
    std::string output() const { return program_.output(); }

    void waitFor(const std::function<bool()>& isDone);

    // Of a program that ends by itself; throws as well when it does not say that all went well.
    void waitForEnd();

    [[noreturn]] void fail(const std::string& what) const;

  private:
    std::string name_;
    ChildProgram program_;
};

}  // namespace qor::bench

#endif
