#include "x11/pixel_format.h"

#include <bit>
#include <cstring>

namespace qor::x11 {
namespace {

constexpr std::uint32_t kOpaque = 0xff000000;

/* One component: where it lies in a pixel, and its value as 8 bits, already at the place that it
 * has in the result. */
class Component {
  public:
    Component(std::uint32_t mask, int targetShift) : mask_(mask), shift_(std::countr_zero(mask)) {
        const std::uint64_t largest = mask == 0 ? 0 : mask >> shift_;
        values_.reserve(largest + 1);
        for (std::uint64_t value = 0; value <= largest; ++value) {
            const auto byte = largest == 0 ? 0 : (value * 255 + largest / 2) / largest;
            values_.push_back(static_cast<std::uint32_t>(byte << targetShift));
        }
    }

    std::uint32_t of(std::uint32_t pixel) const {
        return mask_ == 0 ? 0 : values_[(pixel & mask_) >> shift_];
    }

  private:
    std::uint32_t mask_;
    int shift_;
    std::vector<std::uint32_t> values_;
};

class MaskedColors {
  public:
    explicit MaskedColors(const PixelFormat& format)
        : red_(format.redMask, 16), green_(format.greenMask, 8), blue_(format.blueMask, 0) {}

    std::uint32_t operator()(std::uint32_t pixel) const {
        return kOpaque | red_.of(pixel) | green_.of(pixel) | blue_.of(pixel);
    }

  private:
    Component red_;
    Component green_;
    Component blue_;
};

class PaletteColors {
  public:
    explicit PaletteColors(const PixelFormat& format) : palette_(format.palette) {}

    std::uint32_t operator()(std::uint32_t pixel) const {
        return kOpaque | (pixel < palette_.size() ? palette_[pixel] : 0);
    }

  private:
    const std::vector<std::uint32_t>& palette_;
};

template <unsigned bytes, bool mostSignificantFirst>
std::uint32_t readPixel(const std::byte* source) {
    std::uint32_t pixel = 0;
    for (unsigned i = 0; i < bytes; ++i) {
        const unsigned place = mostSignificantFirst ? bytes - 1 - i : i;
        pixel |= std::to_integer<std::uint32_t>(source[i]) << (8 * place);
    }
    return pixel;
}

struct Rows {
    const std::byte* source;
    std::size_t sourceRowBytes;
    std::byte* target;
    std::size_t targetRowBytes;
    std::size_t width;
    std::size_t height;
};

template <unsigned bytes, bool mostSignificantFirst, typename Colors>
void convertRows(const Rows& rows, const Colors& colors) {
    for (std::size_t y = 0; y < rows.height; ++y) {
        const std::byte* source = rows.source + y * rows.sourceRowBytes;
        std::byte* target = rows.target + y * rows.targetRowBytes;
        for (std::size_t x = 0; x < rows.width; ++x) {
            const auto color = colors(readPixel<bytes, mostSignificantFirst>(source + x * bytes));
            std::memcpy(target + x * 4, &color, 4);
        }
    }
}

template <unsigned bytes, typename Colors>
void convertBytes(const PixelFormat& format, const Rows& rows, const Colors& colors) {
    if (format.mostSignificantByteFirst)
        convertRows<bytes, true>(rows, colors);
    else
        convertRows<bytes, false>(rows, colors);
}

template <typename Colors>
void convert(const PixelFormat& format, const Rows& rows, const Colors& colors) {
    switch (format.bitsPerPixel) {
        case 8:
            return convertBytes<1>(format, rows, colors);
        case 16:
            return convertBytes<2>(format, rows, colors);
        case 24:
            return convertBytes<3>(format, rows, colors);
        case 32:
            return convertBytes<4>(format, rows, colors);
        default:
            return;
    }
}

bool isComponentMask(std::uint32_t mask) {
    if (mask == 0)
        return true;
    const std::uint64_t value = mask >> std::countr_zero(mask);
    return std::has_single_bit(value + 1) && std::bit_width(value) <= 16;
}

}  // namespace

std::size_t rowBytes(const PixelFormat& format, std::size_t width) {
    const std::size_t bits = width * format.bitsPerPixel;
    return (bits + format.scanlinePad - 1) / format.scanlinePad * format.scanlinePad / 8;
}

bool isNative(const PixelFormat& format) {
    return format.bitsPerPixel == 32 && !format.mostSignificantByteFirst &&
           format.palette.empty() && format.redMask == 0x00ff0000 &&
           format.greenMask == 0x0000ff00 && format.blueMask == 0x000000ff;
}

bool isConvertible(const PixelFormat& format) {
    const unsigned bits = format.bitsPerPixel;
    const bool knownSize = bits == 8 || bits == 16 || bits == 24 || bits == 32;
    return knownSize && format.scanlinePad % 8 == 0 && format.scanlinePad > 0 &&
           isComponentMask(format.redMask) && isComponentMask(format.greenMask) &&
           isComponentMask(format.blueMask);
}

void convertPixels(const PixelFormat& format, const std::byte* source, std::size_t width,
                   std::size_t height, std::byte* target, std::size_t targetRowBytes) {
    const Rows rows{source, rowBytes(format, width), target, targetRowBytes, width, height};
    if (format.palette.empty())
        convert(format, rows, MaskedColors(format));
    else
        convert(format, rows, PaletteColors(format));
}

}  // namespace qor::x11
