#include "x11/pixel_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

namespace qor::x11 {
namespace {

// Pixels are blue, green, red, alpha in memory, and 0xAARRGGBB in a register.
static_assert(std::endian::native == std::endian::little);

constexpr std::uint32_t kOpaque = 0xff000000;
// Pixels that are converted at a time, so that the loops over them have nothing to do with either
// image and can work on several at once, also where source and target are the same.
constexpr std::size_t kRun = 256;

/* One component: where it lies in a pixel, and how its value becomes 8 bits at the place that it
 * has in the result. */
class Component {
  public:
    Component(std::uint32_t mask, int targetShift)
        : mask_(mask), shift_(mask == 0 ? 0 : std::countr_zero(mask)), targetShift_(targetShift) {
        if (mask != 0)
            scale_ = 255.0F / static_cast<float>(mask >> shift_);
    }

    // A product is never half way between two results, and a float is precise enough to tell which
    // is nearer, for all values of up to 16 bits. x86-64 always has multiplications of four floats
    // at once, and not always of four 32-bit numbers.
    std::uint32_t of(std::uint32_t pixel) const {
        const auto value = static_cast<std::int32_t>((pixel & mask_) >> shift_);
        const auto spread = static_cast<std::int32_t>(static_cast<float>(value) * scale_ + kHalf);
        return static_cast<std::uint32_t>(spread) << targetShift_;
    }

  private:
    static constexpr float kHalf = 0.5F;

    std::uint32_t mask_;
    int shift_;
    int targetShift_;
    float scale_ = 0;
};

class MaskedColors {
  public:
    explicit MaskedColors(const PixelFormat& format)
        : hasAlpha_(format.alphaMask != 0),
          alpha_(format.alphaMask, 24),
          red_(format.redMask, 16),
          green_(format.greenMask, 8),
          blue_(format.blueMask, 0) {}

    std::uint32_t operator()(std::uint32_t pixel) const {
        return (hasAlpha_ ? alpha_.of(pixel) : kOpaque) | red_.of(pixel) | green_.of(pixel) |
               blue_.of(pixel);
    }

  private:
    bool hasAlpha_;
    Component alpha_;
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
    std::span<const std::uint32_t> palette_;
};

class PalettesUnderMasks {
  public:
    explicit PalettesUnderMasks(const PixelFormat& format) : format_(format) {}

    std::uint32_t operator()(std::uint32_t pixel) const {
        return kOpaque | (at(format_.redMask, pixel) & 0x00ff0000) |
               (at(format_.greenMask, pixel) & 0x0000ff00) |
               (at(format_.blueMask, pixel) & 0x000000ff);
    }

  private:
    std::uint32_t at(std::uint32_t mask, std::uint32_t pixel) const {
        const std::uint32_t index = mask == 0 ? 0 : (pixel & mask) >> std::countr_zero(mask);
        return index < format_.palette.size() ? format_.palette[index] : 0;
    }

    const PixelFormat& format_;
};

template <unsigned bytes, bool mostSignificantFirst>
std::uint32_t readPixel(const std::byte* source) {
    std::uint32_t pixel = 0;
    if constexpr (bytes == 4 && !mostSignificantFirst) {
        std::memcpy(&pixel, source, bytes);
        return pixel;
    }
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
void convertRow(const std::byte* source, std::byte* target, std::size_t width, Colors colors) {
    std::array<std::uint32_t, kRun> run;
    for (std::size_t x = 0; x < width; x += kRun) {
        const std::size_t count = std::min(kRun, width - x);
        for (std::size_t i = 0; i < count; ++i)
            run[i] = readPixel<bytes, mostSignificantFirst>(source + (x + i) * bytes);
        for (std::size_t i = 0; i < count; ++i)
            run[i] = colors(run[i]);
        std::memcpy(target + x * 4, run.data(), count * 4);
    }
}

template <unsigned bytes, bool mostSignificantFirst, typename Colors>
void convertRows(const Rows& rows, const Colors& colors) {
    for (std::size_t y = 0; y < rows.height; ++y)
        convertRow<bytes, mostSignificantFirst>(rows.source + y * rows.sourceRowBytes,
                                                rows.target + y * rows.targetRowBytes, rows.width,
                                                colors);
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

bool hasNativeColors(const PixelFormat& format) {
    return format.bitsPerPixel == 32 && !format.mostSignificantByteFirst &&
           format.palette.empty() && format.redMask == 0x00ff0000 &&
           format.greenMask == 0x0000ff00 && format.blueMask == 0x000000ff;
}

}  // namespace

std::size_t rowBytes(const PixelFormat& format, std::size_t width) {
    const std::size_t bits = width * format.bitsPerPixel;
    return (bits + format.scanlinePad - 1) / format.scanlinePad * format.scanlinePad / 8;
}

bool isNative(const PixelFormat& format) {
    return hasNativeColors(format) && format.alphaMask == kOpaque;
}

bool lacksOnlyAlpha(const PixelFormat& format) {
    return hasNativeColors(format) && format.alphaMask == 0;
}

bool isConvertible(const PixelFormat& format) {
    const unsigned bits = format.bitsPerPixel;
    const bool knownSize = bits == 8 || bits == 16 || bits == 24 || bits == 32;
    return knownSize && format.scanlinePad % 8 == 0 && format.scanlinePad > 0 &&
           isComponentMask(format.redMask) && isComponentMask(format.greenMask) &&
           isComponentMask(format.blueMask) && isComponentMask(format.alphaMask);
}

void makeOpaque(std::byte* pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, pixels + i * 4, 4);
        pixel |= kOpaque;
        std::memcpy(pixels + i * 4, &pixel, 4);
    }
}

void convertPixels(const PixelFormat& format, const std::byte* source, std::size_t width,
                   std::size_t height, std::byte* target, std::size_t targetRowBytes) {
    const Rows rows{source, rowBytes(format, width), target, targetRowBytes, width, height};
    if (format.palette.empty())
        convert(format, rows, MaskedColors(format));
    else if ((format.redMask | format.greenMask | format.blueMask) == 0)
        convert(format, rows, PaletteColors(format));
    else
        convert(format, rows, PalettesUnderMasks(format));
}

}  // namespace qor::x11
