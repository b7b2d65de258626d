#include <atomic>
#include <cstdio>
#include <mutex>

#include "vqutilc.h"

namespace {

using TraceWriter = void (*)(void* context, int level, const char* text, int flag);

void writeToStandardError(void* /*context*/, int /*level*/, const char* text, int /*flag*/) {
    std::fprintf(stderr, "%s\n", text);
}

struct Facility {
    std::atomic<int> level{0};
    std::atomic<int> fileLine{0};
    // Recursive, so that a writer may itself set a writer or cause a message.
    std::recursive_mutex writerLock;
    TraceWriter writer = writeToStandardError;
    void* context = nullptr;
};

// Never destroyed: capture threads and the host's own static objects may trace during exit.
Facility& facility() {
    static Facility& instance = *new Facility;
    return instance;
}

}  // namespace

int vq_trace_level(void) {
    return facility().level.load(std::memory_order_relaxed);
}

void vq_set_trace_level(int level) {
    facility().level.store(level, std::memory_order_relaxed);
}

int vq_get_trace_file_line(void) {
    return facility().fileLine.load(std::memory_order_relaxed);
}

void vq_set_trace_file_line(int enabled) {
    facility().fileLine.store(enabled, std::memory_order_relaxed);
}

void vq_trace_write(int level, const char* text, int flag) {
    if (text == nullptr) {
        return;
    }
    Facility& trace = facility();
    const std::lock_guard<std::recursive_mutex> guard(trace.writerLock);
    trace.writer(trace.context, level, text, flag);
}

void vq_trace_input_error_msg(int /*level*/, const char* /*text*/) {}

void vq_set_trace_writer(TraceWriter writer, void* context) {
    Facility& trace = facility();
    const std::lock_guard<std::recursive_mutex> guard(trace.writerLock);
    trace.writer = writer == nullptr ? writeToStandardError : writer;
    trace.context = context;
}
