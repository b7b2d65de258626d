#include "frame_queue.h"

#include <utility>

bool FrameQueue::push(Frame& frame, Clock::time_point grabBegan) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isClosed_ || count_ == entries_.size()) {
        return false;
    }
    Entry& entry = entries_[(first_ + count_) % entries_.size()];
    std::swap(entry.frame, frame);
    entry.grabBegan = grabBegan;
    ++count_;
    changed_.notify_one();
    return true;
}

bool FrameQueue::pop(Frame& frame, Clock::time_point& grabBegan) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return count_ > 0 || isClosed_; });
    if (count_ == 0) {
        return false;
    }
    Entry& entry = entries_[first_];
    std::swap(entry.frame, frame);
    grabBegan = entry.grabBegan;
    first_ = (first_ + 1) % entries_.size();
    --count_;
    return true;
}

void FrameQueue::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isClosed_ = true;
    changed_.notify_one();
}
