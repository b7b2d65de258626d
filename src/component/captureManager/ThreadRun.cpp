#include "ThreadRun.h"

#include <pthread.h>

#include <utility>

namespace qor {

namespace {

thread_local CaptureThreadScope* currentScope = nullptr;

// Lets cancellation in on a capture thread. Any other thread's readiness is its owner's affair.
class CancellationAllowed {
  public:
    CancellationAllowed() {
        if (currentScope != nullptr) {
            pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before_);
        }
    }
    ~CancellationAllowed() {
        if (currentScope != nullptr) {
            pthread_setcancelstate(before_, nullptr);
        }
    }
    CancellationAllowed(const CancellationAllowed&) = delete;
    CancellationAllowed& operator=(const CancellationAllowed&) = delete;

  private:
    int before_ = 0;
};

}  // namespace

OnCancellation::OnCancellation(void (*action)(void* context), void* context)
    : action_(action),
      context_(context),
      outer_(currentScope == nullptr ? nullptr : currentScope->newest_) {
    if (currentScope != nullptr) {
        currentScope->newest_ = this;
    }
}

OnCancellation::~OnCancellation() {
    if (currentScope != nullptr) {
        currentScope->newest_ = outer_;
    }
}

CaptureThreadScope::CaptureThreadScope(std::shared_ptr<ThreadRun> run) : run_(std::move(run)) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellationBefore_);
    currentScope = this;
}

CaptureThreadScope::~CaptureThreadScope() {
    currentScope = nullptr;
    pthread_setcancelstate(cancellationBefore_, nullptr);
}

std::shared_ptr<ThreadRun> CaptureThreadScope::end() {
    while (newest_ != nullptr) {
        OnCancellation& next = *std::exchange(newest_, newest_->outer_);
        next.action_(next.context_);
    }
    currentScope = nullptr;
    return std::move(run_);
}

void leaveIfGivenUp() {
    if (currentScope != nullptr && currentScope->isGivenUp()) {
        throw ThreadGivenUp{};
    }
}

void sleepCancellably(useconds_t us) {
    const CancellationAllowed allowed;
    usleep(us);
}

CancellableLock::CancellableLock(VQ_Critical_Section& section) : section_(section) {
    const CancellationAllowed allowed;
    section_.lock();
}

}  // namespace qor
