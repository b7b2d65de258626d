/* The FFmpeg libraries, and owners for what they hand out. */
#ifndef CAPMGR_FFMPEG_OBJECTS_H
#define CAPMGR_FFMPEG_OBJECTS_H

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <memory>
#include <string>

struct FfmpegRelease {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

using CodecContext = std::unique_ptr<AVCodecContext, FfmpegRelease>;
using FormatContext = std::unique_ptr<AVFormatContext, FfmpegRelease>;
using VideoFrame = std::unique_ptr<AVFrame, FfmpegRelease>;
using Packet = std::unique_ptr<AVPacket, FfmpegRelease>;
using Scaler = std::unique_ptr<SwsContext, FfmpegRelease>;
using ByteStream = std::unique_ptr<AVIOContext, FfmpegRelease>;

/* Options by name, as the libraries take them. */
class FfmpegOptions {
  public:
    FfmpegOptions() = default;
    ~FfmpegOptions() { av_dict_free(&options_); }
    FfmpegOptions(const FfmpegOptions&) = delete;
    FfmpegOptions& operator=(const FfmpegOptions&) = delete;

    void set(const char* name, const char* value) { av_dict_set(&options_, name, value, 0); }

    /* For a call that takes out those that it knows. */
    AVDictionary** get() { return &options_; }

    bool empty() const { return av_dict_count(options_) == 0; }

  private:
    AVDictionary* options_ = nullptr;
};

/* What an error code means. */
inline std::string ffmpegError(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

#endif
