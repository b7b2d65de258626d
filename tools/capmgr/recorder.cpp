#include "recorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

Recorder::Recorder(const RecordingFormat& format, CAP_SIZE size, unsigned int framesPerSecond,
                   RecordingTarget& target, Interruption& interruption)
    : hasTimes_(format.container->hasTimes),
      converter_(*format.codec, size),
      encoder_(format, encodedSize(*format.codec, size), framesPerSecond),
      file_(*format.container, encoder_.context(), target, interruption),
      packet_(av_packet_alloc()) {
    if (packet_ == nullptr) {
        throw Failure("no memory for a packet");
    }
    worker_ = std::thread([this] { work(); });
}

Recorder::~Recorder() {
    join();
}

void Recorder::add(Frame& frame, Clock::time_point grabBegan) {
    if (!queue_.push(frame, grabBegan)) {
        ++dropped_;
    }
}

void Recorder::finish(Clock::time_point end) {
    end_ = end;
    join();
    if (failure_) {
        throw *failure_;
    }
}

void Recorder::join() {
    queue_.close();
    if (worker_.joinable()) {
        worker_.join();
    }
}

void Recorder::work() {
    try {
        encodeAll();
    } catch (const Failure& failure) {
        failure_ = failure;
    } catch (const std::exception& error) {
        failure_ = Failure(error.what());
    }
    queue_.close();
    hasFailed_ = failure_.has_value();
}

void Recorder::encodeAll() {
    Frame frame;
    Clock::time_point grabBegan;
    bool isFirst = true;
    while (queue_.pop(frame, grabBegan)) {
        if (std::exchange(isFirst, false)) {
            firstGrab_ = grabBegan;
        }
        hasTimes_ ? keepTime(frame, grabBegan) : keepPace(frame, grabBegan);
        bytes_ = file_.bytes();
    }
    if (isFirst) {
        return;
    }
    const std::int64_t end = std::max(ticksAt(end_), next_);
    if (held_ != nullptr) {
        repeatHeldUntil(std::max<std::int64_t>(end, 1));
    }
    encode(nullptr);
    file_.finish(end);
    bytes_ = file_.bytes();
}

void Recorder::keepTime(const Frame& frame, Clock::time_point grabBegan) {
    AVFrame* const picture = converter_.convert(frame);
    picture->pts = std::max(ticksAt(grabBegan), next_);
    next_ = picture->pts + 1;
    encode(picture);
}

// Each place on the grid of the rate gets the newest frame that belongs there: one that is missing
// is stood in for by the one before, one too many takes the place of the one before.
void Recorder::keepPace(const Frame& frame, Clock::time_point grabBegan) {
    AVFrame* const picture = converter_.convert(frame);
    const std::int64_t slot = ticksAt(grabBegan);
    if (held_ != nullptr && slot <= next_) {
        ++dropped_;
    } else if (held_ != nullptr) {
        repeatHeldUntil(slot);
    }
    held_ = picture;
}

void Recorder::repeatHeldUntil(std::int64_t slot) {
    for (; next_ < slot; ++next_) {
        held_->pts = next_;
        encode(held_);
    }
}

void Recorder::encode(AVFrame* picture) {
    encoder_.send(picture);
    frames_ += picture == nullptr ? 0 : 1;
    while (encoder_.receive(*packet_)) {
        file_.write(*packet_);
    }
}

std::int64_t Recorder::ticksAt(Clock::time_point time) const {
    const std::chrono::duration<double> elapsed = time - firstGrab_;
    return std::llround(elapsed.count() / av_q2d(encoder_.context().time_base));
}
