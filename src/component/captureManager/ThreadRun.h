// How a capture thread ends when a stop has waited for it in vain.
//
// A stop then cancels the thread. Cancellation unwinds no C++ frame on macOS and may strike in any
// write to a log, so a capture thread lets it in only where it is told to: in the sleeps of its
// loop and while it waits for a buffer that a reader holds. A thread that hangs elsewhere is given
// up; when the platform comes back to it after all, it leaves by an exception, without touching its
// object, which may be gone. The capture manager keeps the object until then all the same: a thread
// may as well have been held up where nothing tells it.
#ifndef QOR_CONF_THREADRUN_H
#define QOR_CONF_THREADRUN_H

#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "vqutilc.h"

class CCaptureBase;

namespace qor {

// What a capture thread and its object share, owned by both: a thread that hangs in the platform
// outlives the object.
struct ThreadRun {
    std::mutex mutex;
    bool ended = false;              // the thread uses nothing any more; guarded by mutex
    bool abandoned = false;          // the object may be gone; guarded by mutex
    CCaptureBase* orphan = nullptr;  // the object, for the thread to delete; guarded by mutex
    std::atomic<bool> cancelled = false;

    // Whether a thread that was given up may still use the object.
    bool isAtLarge() {
        const std::lock_guard<std::mutex> lock(mutex);
        return abandoned && !ended;
    }
};

// Thrown on a capture thread that has been given up, for its routine to catch.
struct ThreadGivenUp {};

// Something to do when the thread is cancelled in this scope, where no destructor may run. It must
// do no harm when the destructors run after it. Without effect outside a capture thread.
class OnCancellation {
  public:
    OnCancellation(void (*action)(void* context), void* context);
    ~OnCancellation();
    OnCancellation(const OnCancellation&) = delete;
    OnCancellation& operator=(const OnCancellation&) = delete;

  private:
    friend class CaptureThreadScope;

    void (*const action_)(void* context);
    void* const context_;
    OnCancellation* outer_;
};

// Makes the calling thread the capture thread of run while it lives: cancellation is let in only
// where this header says.
class CaptureThreadScope {
  public:
    explicit CaptureThreadScope(std::shared_ptr<ThreadRun> run);
    ~CaptureThreadScope();
    CaptureThreadScope(const CaptureThreadScope&) = delete;
    CaptureThreadScope& operator=(const CaptureThreadScope&) = delete;

    // Does what is still registered, newest first, and hands the run over, as the destructor may
    // not come: for the thread's cleanup handler. The thread is an ordinary one from then on.
    std::shared_ptr<ThreadRun> end();

    bool isGivenUp() const { return run_->cancelled; }

  private:
    friend class OnCancellation;

    std::shared_ptr<ThreadRun> run_;
    OnCancellation* newest_ = nullptr;
    int cancellationBefore_ = 0;
};

// Throws ThreadGivenUp on a capture thread that was cancelled. Called when the platform comes back,
// before anything of the object is used: the object may be gone.
void leaveIfGivenUp();

// Sleeps; a capture thread may be cancelled meanwhile.
void sleepCancellably(useconds_t us);

// Holds section; a capture thread may be cancelled while it waits for it.
class CancellableLock {
  public:
    explicit CancellableLock(VQ_Critical_Section& section);
    ~CancellableLock() { section_.unlock(); }
    CancellableLock(const CancellableLock&) = delete;
    CancellableLock& operator=(const CancellableLock&) = delete;

  private:
    VQ_Critical_Section& section_;
};

}  // namespace qor

#endif
