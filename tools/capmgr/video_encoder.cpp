#include "video_encoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "failure.h"

namespace {

// A player can jump to each of these; every one costs as much as a whole picture.
constexpr int kSecondsBetweenKeyFrames = 4;

constexpr int kMillisecondsInASecond = 1000;

constexpr int kLeastSideOfSlices = 16;

CodecContext makeContext(const Codec& codec) {
    const AVCodec* const encoder = avcodec_find_encoder_by_name(codec.encoder);
    if (encoder == nullptr) {
        throw Failure(fmt::format("the FFmpeg libraries of this machine have no encoder {} for {}",
                                  codec.encoder, codec.name));
    }
    CodecContext context(avcodec_alloc_context3(encoder));
    if (context == nullptr) {
        throw Failure("no memory for an encoder");
    }
    return context;
}

void describeColors(AVCodecContext& context, AVColorSpace matrix) {
    const bool isRgb = matrix == AVCOL_SPC_RGB;
    context.color_primaries = AVCOL_PRI_BT709;
    context.color_trc = isRgb ? AVCOL_TRC_IEC61966_2_1 : AVCOL_TRC_BT709;
    context.colorspace = matrix;
    context.color_range = isRgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    context.chroma_sample_location = isRgb ? AVCHROMA_LOC_UNSPECIFIED : AVCHROMA_LOC_LEFT;
}

}  // namespace

VideoEncoder::VideoEncoder(const RecordingFormat& format, CAP_SIZE size,
                           unsigned int framesPerSecond)
    : context_(makeContext(*format.codec)) {
    const Codec& codec = *format.codec;
    const int rate = static_cast<int>(framesPerSecond);
    context_->width = static_cast<int>(size.dwWidth);
    context_->height = static_cast<int>(size.dwHeight);
    context_->pix_fmt = codec.pixels;
    context_->sample_aspect_ratio = {1, 1};
    context_->framerate = {rate, 1};
    context_->time_base = {1, format.container->hasTimes ? kMillisecondsInASecond : rate};
    context_->gop_size = kSecondsBetweenKeyFrames * rate;
    context_->thread_count = 0;  // as many as the machine has processors
    context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context_->bit_rate =
        std::llround(codec.mostBitsPerPixel * context_->width * context_->height * rate);
    const bool isTiny = std::min(context_->width, context_->height) < kLeastSideOfSlices;
    context_->slices = isTiny ? std::min(codec.slices, 1) : codec.slices;
    describeColors(*context_, codec.matrix);
    FfmpegOptions options;
    for (const auto& [name, value] : codec.options) {
        options.set(name, value);
    }
    if (!codec.isLossless()) {
        options.set("crf", codec.crf[static_cast<int>(format.quality)]);
    }
    const int error = avcodec_open2(context_.get(), context_->codec, options.get());
    if (error < 0 || !options.empty()) {
        throw Failure(fmt::format("the encoder {} does not take {}x{} at {} frames/s: {}",
                                  codec.encoder, context_->width, context_->height, rate,
                                  error < 0 ? ffmpegError(error) : "an option is unknown to it"));
    }
}

void VideoEncoder::send(const AVFrame* picture) {
    const int error = avcodec_send_frame(context_.get(), picture);
    if (error < 0) {
        throw Failure(fmt::format("the encoder failed: {}", ffmpegError(error)));
    }
}

bool VideoEncoder::receive(AVPacket& packet) {
    const int error = avcodec_receive_packet(context_.get(), &packet);
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) {
        return false;
    }
    if (error < 0) {
        throw Failure(fmt::format("the encoder failed: {}", ffmpegError(error)));
    }
    return true;
}
