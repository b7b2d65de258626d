#include "ffmpeg_log.h"

#include <atomic>
#include <cstdarg>

#include "ffmpeg_objects.h"

namespace {

constexpr int kMessageLevel = 2;
constexpr int kDetailLevel = 3;

// The libraries' callback bears no context.
std::atomic<const TraceOutput*> shownOn{nullptr};

void show(void* context, int level, const char* format, std::va_list arguments) {
    const TraceOutput* const trace = shownOn;
    const int traceLevel = level <= AV_LOG_INFO ? kMessageLevel : kDetailLevel;
    if (trace == nullptr || trace->level() < traceLevel || level > AV_LOG_VERBOSE) {
        return;
    }
    std::array<char, 1024> line{};
    int atLineStart = 1;
    av_log_format_line2(context, level, format, arguments, line.data(),
                        static_cast<int>(line.size()), &atLineStart);
    std::string text(line.data());
    text.erase(text.find_last_not_of('\n') + 1);
    trace->show(traceLevel, text.c_str());
}

}  // namespace

FfmpegLog::FfmpegLog(const TraceOutput& trace) {
    shownOn = &trace;
    av_log_set_callback(show);
}

FfmpegLog::~FfmpegLog() {
    shownOn = nullptr;
}
