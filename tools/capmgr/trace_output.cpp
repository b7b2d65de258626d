#include "trace_output.h"

#include <cstdio>

#include "vqutilc.h"

namespace {

void writeTrace(void* context, int level, const char* text, int /*flag*/) {
    static_cast<const TraceOutput*>(context)->show(level, text);
}

}  // namespace

TraceOutput::~TraceOutput() {
    vq_set_trace_writer(nullptr, nullptr);
}

void TraceOutput::take() const {
    vq_set_trace_level(level_);
    // The writer only reads; the facility's context has no const form.
    vq_set_trace_writer(writeTrace, const_cast<TraceOutput*>(this));
}

void TraceOutput::show(int level, const char* text) const {
    if (level <= level_) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
        std::fprintf(stderr, "%.6f %s\n", elapsed.count(), text);
    }
}
