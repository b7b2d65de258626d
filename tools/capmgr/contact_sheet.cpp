#include "contact_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "text_font.h"

namespace {

constexpr std::uint32_t kMargin = 16;
constexpr std::uint32_t kGap = 8;     // between a picture and its caption
constexpr std::uint32_t kBorder = 3;  // of the marked one, within the margin
constexpr std::uint32_t kPixel = 4;   // bytes
constexpr int kTextSize = 14;

struct Paint {
    std::uint8_t blue, green, red;
};
constexpr Paint kBackground{32, 32, 32};
constexpr Paint kMark{80, 200, 80};
constexpr SDL_Color kText{235, 235, 235, 255};

std::uint8_t* pixelAt(Frame& frame, std::uint32_t x, std::uint32_t y) {
    return &frame.pixels[(std::size_t{y} * frame.width + x) * kPixel];
}

void fill(Frame& frame, std::uint32_t left, std::uint32_t top, std::uint32_t width,
          std::uint32_t height, Paint paint) {
    for (std::uint32_t y = top; y < std::min(top + height, frame.height); ++y) {
        for (std::uint32_t x = left; x < std::min(left + width, frame.width); ++x) {
            std::uint8_t* const pixel = pixelAt(frame, x, y);
            pixel[0] = paint.blue;
            pixel[1] = paint.green;
            pixel[2] = paint.red;
            pixel[3] = 255;
        }
    }
}

void copy(const Frame& picture, Frame& frame, std::uint32_t left, std::uint32_t top) {
    const std::size_t row = std::size_t{picture.width} * kPixel;
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        std::memcpy(pixelAt(frame, left, top + y), &picture.pixels[y * row], row);
    }
}

std::uint8_t blended(std::uint8_t below, std::uint8_t above, std::uint8_t alpha) {
    return static_cast<std::uint8_t>((above * alpha + below * (255 - alpha) + 127) / 255);
}

/* A text as it was rendered: blue, green, red and alpha. */
void blend(const SDL_Surface& text, Frame& frame, std::uint32_t left, std::uint32_t top) {
    const auto width = std::min(static_cast<std::uint32_t>(text.w), frame.width - left);
    const auto height = std::min(static_cast<std::uint32_t>(text.h), frame.height - top);
    for (std::uint32_t y = 0; y < height; ++y) {
        const auto* from = static_cast<const std::uint8_t*>(text.pixels) +
                           std::size_t{y} * static_cast<std::size_t>(text.pitch);
        for (std::uint32_t x = 0; x < width; ++x, from += kPixel) {
            std::uint8_t* const to = pixelAt(frame, left + x, top + y);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                to[channel] = blended(to[channel], from[channel], from[3]);
            }
        }
    }
}

std::uint32_t heightOf(const Surface& text) {
    return text == nullptr ? 0 : static_cast<std::uint32_t>(text->h);
}

std::uint32_t columnsFor(std::size_t count) {
    return static_cast<std::uint32_t>(std::ceil(std::sqrt(static_cast<double>(count))));
}

}  // namespace

Frame contactSheet(std::vector<Thumbnail>& thumbnails, std::uint32_t width) {
    TextFont font;
    font.setSize(kTextSize);
    std::vector<Surface> captions;
    std::uint32_t pictureHeight = 0;
    std::uint32_t captionHeight = 0;
    for (const Thumbnail& thumbnail : thumbnails) {
        captions.push_back(font.render(thumbnail.caption, kText, static_cast<int>(width)));
        pictureHeight = std::max(pictureHeight, thumbnail.picture.height);
        captionHeight = std::max(captionHeight, heightOf(captions.back()));
    }
    const std::uint32_t columns = columnsFor(thumbnails.size());
    const auto rows = (static_cast<std::uint32_t>(thumbnails.size()) + columns - 1) / columns;
    const std::uint32_t cellHeight = pictureHeight + kGap + captionHeight + kMargin;
    Frame sheet{{}, kMargin + columns * (width + kMargin), kMargin + rows * cellHeight};
    sheet.pixels.resize(std::size_t{sheet.width} * sheet.height * kPixel);
    fill(sheet, 0, 0, sheet.width, sheet.height, kBackground);
    for (std::uint32_t cell = 0; cell < thumbnails.size(); ++cell) {
        Thumbnail& thumbnail = thumbnails[cell];
        const Frame& picture = thumbnail.picture;
        thumbnail.left = kMargin + cell % columns * (width + kMargin) + (width - picture.width) / 2;
        thumbnail.top = kMargin + cell / columns * cellHeight + pictureHeight - picture.height;
        if (thumbnail.isMarked) {
            fill(sheet, thumbnail.left - kBorder, thumbnail.top - kBorder,
                 picture.width + 2 * kBorder, picture.height + 2 * kBorder, kMark);
        }
        copy(picture, sheet, thumbnail.left, thumbnail.top);
        if (captions[cell] != nullptr) {
            blend(*captions[cell], sheet, thumbnail.left, thumbnail.top + picture.height + kGap);
        }
    }
    return sheet;
}
