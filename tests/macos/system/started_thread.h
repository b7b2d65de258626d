// Threads of the C interface for tests, and waiting for what they do.
//
// Threads: a StartedThread belongs to the thread that made it.
#ifndef STARTED_THREAD_H
#define STARTED_THREAD_H

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <utility>

// Runs a function in a thread of its own. Must be joined before its end.
class StartedThread {
  public:
    explicit StartedThread(std::function<void*()> body) : body_(std::move(body)) {
        if (pthread_create(&thread_, nullptr, run, this) != 0) {
            throw std::runtime_error("no thread");
        }
    }
    StartedThread(const StartedThread&) = delete;
    StartedThread& operator=(const StartedThread&) = delete;

    pthread_t get() const { return thread_; }

    void* join() {
        void* result = nullptr;
        pthread_join(thread_, &result);
        return result;
    }

  private:
    static void* run(void* self) { return static_cast<StartedThread*>(self)->body_(); }

    std::function<void*()> body_;
    pthread_t thread_{};
};

// Whether it became true within ten seconds.
inline bool becomesTrue(const std::atomic<bool>& flag) {
    for (int i = 0; i < 10'000 && !flag; ++i) {
        usleep(1000);
    }
    return flag;
}

#endif
