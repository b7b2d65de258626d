#include "script.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace scripted {

namespace {

constexpr auto kBound = std::chrono::seconds(10);

// Keeps a thread from ending by cancellation while it lives.
class CancellationGuard {
  public:
    explicit CancellationGuard(bool active) : active_(active) {
        if (active_) {
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_);
        }
    }
    ~CancellationGuard() {
        if (active_) {
            pthread_setcancelstate(before_, nullptr);
        }
    }
    CancellationGuard(const CancellationGuard&) = delete;
    CancellationGuard& operator=(const CancellationGuard&) = delete;

  private:
    bool active_;
    int before_ = 0;
};

}  // namespace

Script& Script::instance() {
    static Script& script = *new Script;
    return script;
}

void Script::reset() {
    objects_.reset();
    displays_.clear();
    preferredLocales = {"en_US"};
    leavesCutText = false;
    windows.clear();
    imageSize.reset();
    calendar = {};
    clockPorts = 0;
    failures_.clear();
    actions_.clear();
    forgetCalls();
    letGo();
}

const Display* Script::display(uint32_t id) const {
    const auto found = std::find_if(displays_.begin(), displays_.end(),
                                    [id](const Display& display) { return display.id == id; });
    return found == displays_.end() ? nullptr : &*found;
}

const Display* Script::displayAt(double x, double y) const {
    const auto found =
        std::find_if(displays_.begin(), displays_.end(), [x, y](const Display& display) {
            const CGRect& bounds = display.bounds;
            return x >= bounds.origin.x && x < bounds.origin.x + bounds.size.width &&
                   y >= bounds.origin.y && y < bounds.origin.y + bounds.size.height;
        });
    return found == displays_.end() ? nullptr : &*found;
}

Script::Admission Script::admit(const std::string& function, const std::string& arguments) {
    Admission admission{};
    {
        const std::lock_guard lock(mutex_);
        admission.record = forgotten_ + calls_.size();
        calls_.push_back({function + "(" + arguments + ")", std::this_thread::get_id()});
        actIfTold(function);
        admission.fails = takesFailure(function);
    }
    hangIfTold(function);
    return admission;
}

void Script::addResult(size_t record, const std::string& result) {
    if (record >= forgotten_) {
        calls_[record - forgotten_].text += " -> " + result;
    }
}

void Script::forgetCalls() {
    forgotten_ += calls_.size();
    calls_.clear();
}

void Script::failFrom(const std::string& function, size_t skip, size_t times) {
    failures_[function] = {skip, times};
}

void Script::actOn(const std::string& function, const std::function<void()>& action, size_t skip) {
    actions_[function] = {skip, action};
}

void Script::actIfTold(const std::string& function) {
    const auto found = actions_.find(function);
    if (found == actions_.end()) {
        return;
    }
    if (found->second.skip > 0) {
        --found->second.skip;
        return;
    }
    const std::function<void()> run = std::move(found->second.run);
    actions_.erase(found);
    run();
}

bool Script::takesFailure(const std::string& function) {
    const auto found = failures_.find(function);
    if (found == failures_.end()) {
        return false;
    }
    Failure& failure = found->second;
    if (failure.skip > 0) {
        --failure.skip;
        return false;
    }
    if (failure.times == 0) {
        return false;
    }
    if (failure.times != kAlways) {
        --failure.times;
    }
    return true;
}

void Script::hangNext(const std::string& function, bool cancellable) {
    const std::lock_guard lock(hangMutex_);
    hangFunction_ = function;
    hangCancellable_ = cancellable;
}

void Script::hangIfTold(const std::string& function) {
    std::unique_lock lock(hangMutex_);
    if (hangFunction_ != function || hanging_) {
        return;
    }
    const CancellationGuard guard(!hangCancellable_);
    hang(lock);
}

// Where a thread is cancelled, not every system runs the destructors.
void Script::hang(std::unique_lock<std::mutex>& lock) {
    hanging_ = true;
    hangChanged_.notify_all();
    Hang hang{*this, lock};
    pthread_cleanup_push(endHang, &hang);
    while (!hangFunction_.empty()) {
        hangChanged_.wait(lock);
    }
    pthread_cleanup_pop(1);
}

void Script::endHang(void* hang) {
    auto& [script, lock] = *static_cast<Hang*>(hang);
    script.hanging_ = false;
    script.hangChanged_.notify_all();
    lock.unlock();
}

bool Script::awaitHang() {
    std::unique_lock lock(hangMutex_);
    return hangChanged_.wait_for(lock, kBound, [this] { return hanging_; });
}

void Script::letGo() {
    const std::lock_guard lock(hangMutex_);
    hangFunction_.clear();
    hangChanged_.notify_all();
}

std::string text(double value) {
    return value == std::floor(value) ? std::to_string(static_cast<long long>(value))
                                      : std::to_string(value);
}

std::string text(const CGRect& rect) {
    return "{" + text(rect.origin.x) + ", " + text(rect.origin.y) + ", " + text(rect.size.width) +
           ", " + text(rect.size.height) + "}";
}

std::string objectText(const void* reference) {
    const std::lock_guard lock(Script::instance().mutex());
    return Script::instance().objects().labelOf(reference);
}

}  // namespace scripted
