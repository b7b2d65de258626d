/*
 * Where the FFmpeg libraries' own messages go: to the trace from level 2 on, else nowhere, because
 * a failing command answers with one line of its own.
 */
#ifndef CAPMGR_FFMPEG_LOG_H
#define CAPMGR_FFMPEG_LOG_H

#include "trace_output.h"

/* One at a time: the libraries have one log for the process. */
class FfmpegLog {
  public:
    explicit FfmpegLog(const TraceOutput& trace);
    ~FfmpegLog();
    FfmpegLog(const FfmpegLog&) = delete;
    FfmpegLog& operator=(const FfmpegLog&) = delete;
};

#endif
