/*
 * Reading the screen, part by part, into the memory of an image.
 *
 * Where the server can draw on that memory it does (RENDER), which gives opaque pixels in their
 * places at once. Otherwise it copies whole rows there, whose fourth byte is then set, if its
 * pixels are like those of images; if they are not, they come by other memory.
 */
#pragma once

#include <cstdint>
#include <optional>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/image_memory.h"
#include "x11/image_transport.h"
#include "x11/root_format.h"
#include "x11/server_resource.h"

namespace qor::x11 {

/* An image of an area of the root window, under way or made. */
struct ScreenFrame {
    coregraphics::PixelRect area;
    coregraphics::PixelRect visible;  // of the area, on the screen; zero elsewhere
    ImageMemory memory;
};

class ScreenReader final : public EventListener {
  public:
    enum class Outcome {
        done,
        outdated,  // the frame is of no more use, but another one may be
        failed,
    };

    ScreenReader(Connection& connection, ImageTransport& transport)
        : connection_(connection), transport_(transport) {
        connection_.addListener(*this);
    }
    ~ScreenReader() override { connection_.removeListener(*this); }
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    /* Whether images can be made of the screen's pixels. */
    bool isPossible();

    /* Whether the same pixels always are the same colours. If isPossible(). */
    bool hasOwnColors() const { return format_->paletteSize == 0; }

    /* The root window's size when it was read last, or told of since (StructureNotify). If
     * isPossible(). */
    const coregraphics::PixelRect& root() const { return root_; }

    /* Begins an image, which holds anything where the screen is visible. Null if the server does
     * not answer. If isPossible(). Throws std::bad_alloc. */
    std::optional<ScreenFrame> begin(const coregraphics::PixelRect& area);

    /* Reads the present pixels of a part of what is visible in a frame that nobody sees. Unless it
     * is done, the part may hold anything. */
    Outcome read(ScreenFrame& frame, const coregraphics::PixelRect& part);

    /* The screen as a picture, the windows on it included; none if its pixels are not like those of
     * images, but for alpha. If isPossible(). */
    xcb_render_picture_t picture();

    /* Sees whether the root window was resized. */
    bool take(const xcb_generic_event_t& event) noexcept override;

  private:
    Outcome readPixels(const ScreenFrame& frame, const coregraphics::PixelRect& part);
    Outcome readRows(const ScreenFrame& frame, const coregraphics::PixelRect& part);
    Outcome convert(const ScreenFrame& frame, const coregraphics::PixelRect& part);
    xcb_void_cookie_t draw(const ScreenFrame& frame, const coregraphics::PixelRect& part);
    Outcome outcomeOfDrawing(xcb_void_cookie_t drawing);

    Connection& connection_;
    ImageTransport& transport_;
    bool hasLookedForFormat_ = false;
    std::optional<RootFormat> format_;  // null too if it cannot be converted
    coregraphics::PixelRect root_;
    std::uint32_t rootKnownAt_ = 0;  // the number of a request: root_ is as of then, or later
    std::optional<Picture> picture_;
};

}  // namespace qor::x11
