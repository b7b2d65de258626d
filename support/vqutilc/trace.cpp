#include <atomic>
#include <cstdio>
#include <mutex>
#include <new>

#include "vqutilc.h"

#ifdef __GLIBCXX__
#include <cxxabi.h>
#endif

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

// Never destroyed: capture threads and the host's own static objects may trace during exit. In a
// place of its own: that memory is short must not be what cannot be told.
Facility& facility() {
    alignas(Facility) static unsigned char place[sizeof(Facility)];
    static Facility& instance = *new (place) Facility;
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

// What is caught of a cancelled thread is no object, and sanitizers mind.
__attribute__((no_sanitize("null"))) void vq_trace_write(int level, const char* text, int flag) {
    if (text == nullptr) {
        return;
    }
    Facility& trace = facility();
    const std::lock_guard<std::recursive_mutex> guard(trace.writerLock);
    try {
        trace.writer(trace.context, level, text, flag);
    }
#ifdef __GLIBCXX__
    catch (const abi::__forced_unwind&) {  // by which a thread is cancelled
        throw;
    }
#endif
    catch (...) {  // NOLINT(bugprone-empty-catch): messages come from where nothing may be thrown
    }
}

void vq_trace_input_error_msg(int /*level*/, const char* /*text*/) {}

void vq_set_trace_writer(TraceWriter writer, void* context) {
    Facility& trace = facility();
    const std::lock_guard<std::recursive_mutex> guard(trace.writerLock);
    trace.writer = writer == nullptr ? writeToStandardError : writer;
    trace.context = context;
}
