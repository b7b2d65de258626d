#include "picture_converter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "failure.h"
#include "monitors.h"

namespace {

constexpr std::size_t kBytesPerPixel = 4;

CAP_SIZE evenSize(CAP_SIZE size) {
    return {size.dwWidth + size.dwWidth % 2, size.dwHeight + size.dwHeight % 2};
}

Scaler makeScaler(const Codec& codec, CAP_SIZE size) {
    const int width = static_cast<int>(size.dwWidth);
    const int height = static_cast<int>(size.dwHeight);
    Scaler scaler(sws_getContext(width, height, AV_PIX_FMT_BGR0, width, height, codec.pixels,
                                 SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (scaler == nullptr) {
        throw Failure(fmt::format("cannot convert frames of {}", sizeText(size)));
    }
    // The coefficients of a source in RGB are not looked at.
    const int* const coefficients = sws_getCoefficients(codec.matrix);
    constexpr int kFullRange = 1;
    constexpr int kLimitedRange = 0;
    constexpr int kOne = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), coefficients, kFullRange, coefficients, kLimitedRange, 0,
                             kOne, kOne);
    return scaler;
}

VideoFrame makePicture(AVPixelFormat pixels, CAP_SIZE size) {
    VideoFrame picture(av_frame_alloc());
    if (picture == nullptr) {
        throw Failure("no memory for a picture");
    }
    picture->format = pixels;
    picture->width = static_cast<int>(size.dwWidth);
    picture->height = static_cast<int>(size.dwHeight);
    if (const int error = av_frame_get_buffer(picture.get(), 0); error < 0) {
        throw Failure(fmt::format("no memory for a picture: {}", ffmpegError(error)));
    }
    return picture;
}

}  // namespace

CAP_SIZE encodedSize(const Codec& codec, CAP_SIZE size) {
    return codec.hasEvenSides ? evenSize(size) : size;
}

PictureConverter::PictureConverter(const Codec& codec, CAP_SIZE size)
    : size_(size), even_(evenSize(size)), scaler_(makeScaler(codec, even_)) {
    const CAP_SIZE encoded = encodedSize(codec, size);
    for (VideoFrame& picture : pictures_) {
        picture = makePicture(codec.pixels, even_);
        picture->width = static_cast<int>(encoded.dwWidth);
        picture->height = static_cast<int>(encoded.dwHeight);
    }
}

AVFrame* PictureConverter::convert(const Frame& frame) {
    if (frame.width != size_.dwWidth || frame.height != size_.dwHeight) {
        throw Failure(fmt::format("a frame of {} came in place of {}",
                                  sizeText({frame.width, frame.height}), sizeText(size_)));
    }
    AVFrame* const picture = spare();
    const std::uint8_t* const planes[] = {evenPixels(frame)};
    const int pitches[] = {static_cast<int>(even_.dwWidth * kBytesPerPixel)};
    sws_scale(scaler_.get(), planes, pitches, 0, static_cast<int>(even_.dwHeight), picture->data,
              picture->linesize);
    return picture;
}

AVFrame* PictureConverter::spare() {
    AVFrame* const picture = pictures_[next_].get();
    next_ = (next_ + 1) % pictures_.size();
    if (const int error = av_frame_make_writable(picture); error < 0) {
        throw Failure(fmt::format("no memory for a picture: {}", ffmpegError(error)));
    }
    return picture;
}

const std::uint8_t* PictureConverter::evenPixels(const Frame& frame) {
    if (even_.dwWidth == size_.dwWidth && even_.dwHeight == size_.dwHeight) {
        return frame.pixels.data();
    }
    const std::size_t from = std::size_t{size_.dwWidth} * kBytesPerPixel;
    const std::size_t to = std::size_t{even_.dwWidth} * kBytesPerPixel;
    evenPixels_.resize(to * even_.dwHeight);
    for (std::uint32_t row = 0; row < even_.dwHeight; ++row) {
        const std::uint32_t source = std::min(row, size_.dwHeight - 1);
        std::uint8_t* const line = evenPixels_.data() + row * to;
        const std::uint8_t* const pixels = frame.pixels.data() + source * from;
        std::memcpy(line, pixels, from);
        std::memcpy(line + to - kBytesPerPixel, pixels + from - kBytesPerPixel, kBytesPerPixel);
    }
    return evenPixels_.data();
}
