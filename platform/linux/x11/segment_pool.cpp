#include "x11/segment_pool.h"

#include <algorithm>
#include <utility>

namespace qor::x11 {

class SegmentPool::Loan {
  public:
    explicit Loan(std::shared_ptr<SegmentPool> pool) : pool_(std::move(pool)) {}
    ~Loan() { pool_->giveBack(slot); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    Slot slot;

  private:
    const std::shared_ptr<SegmentPool> pool_;
};

std::shared_ptr<Segment> SegmentPool::take(std::size_t size) {
    auto loan = std::make_shared<Loan>(shared_from_this());
    {
        const std::lock_guard lock(mutex_);
        const auto large = [size](const Segment& segment) { return segment.memory.size() >= size; };
        const auto found = std::ranges::find_if(free_, large);
        if (found != free_.end())
            loan->slot.splice(loan->slot.end(), free_, found);
    }
    if (loan->slot.empty())
        return nullptr;
    Segment* segment = &loan->slot.front();
    return {std::move(loan), segment};
}

std::shared_ptr<Segment> SegmentPool::add(Segment segment) {
    auto loan = std::make_shared<Loan>(shared_from_this());
    loan->slot.push_back(std::move(segment));
    Segment* added = &loan->slot.front();
    return {std::move(loan), added};
}

std::list<Segment> SegmentPool::shrinkTo(std::size_t count) {
    Slot surplus;
    const std::lock_guard lock(mutex_);
    if (free_.size() > count) {
        const auto first = std::next(free_.begin(), static_cast<std::ptrdiff_t>(count));
        surplus.splice(surplus.end(), free_, first, free_.end());
    }
    return surplus;
}

void SegmentPool::close() {
    Slot freed;
    const std::lock_guard lock(mutex_);
    isOpen_ = false;
    freed.swap(free_);
}

void SegmentPool::giveBack(Slot& slot) noexcept {
    const std::lock_guard lock(mutex_);
    // The one used last first: its pages are the likeliest to be in the cache.
    if (isOpen_)
        free_.splice(free_.begin(), slot);
}

}  // namespace qor::x11
