/* What must not happen to a thread in the middle of a conversation with the display server. */
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <ctime>
#include <initializer_list>

namespace qor::coregraphics {

/* Puts off a pthread_cancel until the end of the scope. A host may cancel a thread that is slow to
 * end; unwinding out of the middle of a request would leave the connection locked for good. The
 * waits in the scope are bounded, so the cancellation is late, never lost. */
class CancellationHeld {
  public:
    CancellationHeld() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
    ~CancellationHeld() { pthread_setcancelstate(previous_, nullptr); }
    CancellationHeld(const CancellationHeld&) = delete;
    CancellationHeld& operator=(const CancellationHeld&) = delete;

  private:
    int previous_ = PTHREAD_CANCEL_ENABLE;
};

/* Swallows the signals that failed writes raise in this thread: SIGPIPE when the server died,
 * SIGXFSZ when the host may not make shared memory that large. Both end a host that has not chosen
 * otherwise, and that choice is the host's; the failure itself is handled where it happens. */
class WriteSignalsHeld {
  public:
    WriteSignalsHeld() noexcept {
        sigset_t pending;
        sigpending(&pending);
        sigemptyset(&held_);
        // One that is pending already is not ours to take.
        for (const int signal : {SIGPIPE, SIGXFSZ}) {
            if (sigismember(&pending, signal) == 0)
                sigaddset(&held_, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held_, &previous_);
    }

    ~WriteSignalsHeld() {
        const timespec noWait{};
        while (sigtimedwait(&held_, nullptr, &noWait) != -1 || errno == EINTR) {
        }
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }

    WriteSignalsHeld(const WriteSignalsHeld&) = delete;
    WriteSignalsHeld& operator=(const WriteSignalsHeld&) = delete;

  private:
    sigset_t held_;
    sigset_t previous_;
};

/* Blocks every signal, for threads started in the scope to inherit: the host's handlers run on the
 * host's threads. */
class AllSignalsHeld {
  public:
    AllSignalsHeld() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous_);
    }
    ~AllSignalsHeld() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    AllSignalsHeld(const AllSignalsHeld&) = delete;
    AllSignalsHeld& operator=(const AllSignalsHeld&) = delete;

  private:
    sigset_t previous_;
};

}  // namespace qor::coregraphics
