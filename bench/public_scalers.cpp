#include <fmt/format.h>
#include <libyuv/scale_argb.h>
#include <libyuv/version.h>
#include <pixman.h>

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/core/version.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "scalers.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace qor::bench {

namespace {

// The box filter averages areas where it halves a size or more, and is the bilinear filter
// otherwise. The linear filter is left out: it takes the nearest row, and where that is bilinear,
// the bilinear filter takes the same path.
Scaler libyuvScaler(const char* name, Size from, Size to, libyuv::FilterMode filter) {
    return {name, kBytesPerPixel, [=](const unsigned char* source, unsigned char* target) -> Call {
                return [=] {
                    libyuv::ARGBScale(source, static_cast<int>(from.rowBytes()), from.width,
                                      from.height, target, static_cast<int>(to.rowBytes()),
                                      to.width, to.height, filter);
                };
            }};
}

// One thread is what a context is made with unless it is asked for more.
Scaler swscaleScaler(const char* name, Size from, Size to, int flags) {
    const std::shared_ptr<SwsContext> context(
        sws_getContext(from.width, from.height, AV_PIX_FMT_BGRA, to.width, to.height,
                       AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!context) {
        throw std::runtime_error(fmt::format("{}: no context for this size", name));
    }
    return {name, kBytesPerPixel, [=](const unsigned char* source, unsigned char* target) -> Call {
                return [=] {
                    const int sourcePitch = static_cast<int>(from.rowBytes());
                    const int targetPitch = static_cast<int>(to.rowBytes());
                    sws_scale(context.get(), &source, &sourcePitch, 0, from.height, &target,
                              &targetPitch);
                };
            }};
}

using PixmanImage = std::shared_ptr<pixman_image_t>;

PixmanImage pixmanImage(pixman_format_code_t format, Size size, const unsigned char* pixels) {
    // The one type for images to read and to write takes pixels that may be written.
    auto* const words =
        static_cast<uint32_t*>(static_cast<void*>(const_cast<unsigned char*>(pixels)));
    PixmanImage image(pixman_image_create_bits_no_clear(format, size.width, size.height, words,
                                                        static_cast<int>(size.rowBytes())),
                      pixman_image_unref);
    if (!image) {
        throw std::runtime_error("pixman: no image of this size");
    }
    return image;
}

// A plain scaling transform has pixel centres at half positions already: it is applied to them.
void scaleWhenRead(pixman_image_t* image, Size from, Size to) {
    pixman_transform_t transform;
    pixman_transform_init_scale(
        &transform, pixman_double_to_fixed(static_cast<double>(from.width) / to.width),
        pixman_double_to_fixed(static_cast<double>(from.height) / to.height));
    if (!pixman_image_set_transform(image, &transform) ||
        !pixman_image_set_filter(image, PIXMAN_FILTER_BILINEAR, nullptr, 0)) {
        throw std::runtime_error("pixman: no transform of this size");
    }
    pixman_image_set_repeat(image, PIXMAN_REPEAT_PAD);
}

Scaler pixmanScaler(const char* name, Size from, Size to, pixman_format_code_t format) {
    const size_t channels = PIXMAN_FORMAT_A(format) != 0 ? kBytesPerPixel : kBytesPerPixel - 1;
    return {name, channels, [=](const unsigned char* source, unsigned char* target) -> Call {
                const PixmanImage input = pixmanImage(format, from, source);
                const PixmanImage output = pixmanImage(format, to, target);
                scaleWhenRead(input.get(), from, to);
                return [=] {
                    pixman_image_composite32(PIXMAN_OP_SRC, input.get(), nullptr, output.get(), 0,
                                             0, 0, 0, 0, 0, to.width, to.height);
                };
            }};
}

Scaler opencvScaler(const char* name, Size from, Size to, int interpolation) {
    return {name, kBytesPerPixel, [=](const unsigned char* source, unsigned char* target) -> Call {
                const cv::Mat input(from.height, from.width, CV_8UC4,
                                    const_cast<unsigned char*>(source));
                cv::Mat output(to.height, to.width, CV_8UC4, target);
                return [=]() mutable {
                    cv::resize(input, output, output.size(), 0, 0, interpolation);
                };
            }};
}

}  // namespace

std::vector<Scaler> publicScalers(Size from, Size to) {
    cv::setNumThreads(1);
    return {
        libyuvScaler("libyuv bilinear", from, to, libyuv::kFilterBilinear),
        libyuvScaler("libyuv box", from, to, libyuv::kFilterBox),
        swscaleScaler("swscale bilinear", from, to, SWS_BILINEAR),
        swscaleScaler("swscale fast bilinear", from, to, SWS_FAST_BILINEAR),
        pixmanScaler("pixman a8r8g8b8", from, to, PIXMAN_a8r8g8b8),
        pixmanScaler("pixman x8r8g8b8", from, to, PIXMAN_x8r8g8b8),
        opencvScaler("opencv linear", from, to, cv::INTER_LINEAR),
        opencvScaler("opencv linear exact", from, to, cv::INTER_LINEAR_EXACT),
    };
}

std::vector<std::pair<std::string, std::string>> publicScalerVersions() {
    const unsigned int swscale = swscale_version();
    return {{"libyuv", fmt::format("{}", LIBYUV_VERSION)},
            {"libswscale", fmt::format("{}.{}.{}", AV_VERSION_MAJOR(swscale),
                                       AV_VERSION_MINOR(swscale), AV_VERSION_MICRO(swscale))},
            {"pixman", pixman_version_string()},
            {"OpenCV", cv::getVersionString()}};
}

}  // namespace qor::bench
