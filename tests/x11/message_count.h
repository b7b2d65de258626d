/* Counts the capture manager's messages with a text in them, at a trace level, while it lives; none
 * are written meanwhile, nor afterwards until the level is set. */
#pragma once

#include <vqutilc.h>

#include <atomic>
#include <cstring>

class MessageCount {
  public:
    MessageCount(int level, const char* text) : text_(text) {
        vq_set_trace_writer(count, this);
        vq_set_trace_level(level);
    }
    ~MessageCount() {
        vq_set_trace_level(-1);
        vq_set_trace_writer(nullptr, nullptr);
    }
    MessageCount(const MessageCount&) = delete;
    MessageCount& operator=(const MessageCount&) = delete;

    unsigned count() const { return count_; }

  private:
    static void count(void* self, int, const char* text, int) {
        auto& counter = *static_cast<MessageCount*>(self);
        counter.count_ += std::strstr(text, counter.text_) != nullptr ? 1 : 0;
    }

    const char* const text_;
    std::atomic<unsigned> count_ = 0;
};

/* The rounds of captures that run. */
class RoundCount : public MessageCount {
  public:
    RoundCount() : MessageCount(3, "CCaptureMac::DoCapture()... Begin!") {}
};
