/*
 * The best way there is to read the root window, or a pixmap, and memory for what is read.
 *
 * Three, tried in this order: memory passed to the server by descriptor, System V memory, and
 * images in the reply itself. One that turns out not to work is left for the next for as long as
 * the connection lasts.
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/grab_result.h"
#include "x11/image_memory.h"
#include "x11/server_resource.h"
#include "x11/shm_transport.h"

namespace qor::x11 {

class ImageTransport {
  public:
    explicit ImageTransport(Connection& connection) : connection_(connection) {}

    /* Reads an area inside a drawable, whose rows there take size bytes. Never unavailable but when
     * the last way fails. */
    GrabResult grab(xcb_drawable_t drawable, const coregraphics::PixelRect& area, std::size_t size);

    /* The same, to a place in an image's memory, which the server shares: the result has no bytes
     * of its own. Where that does not work, neither will it with memory lent before. */
    GrabResult grabInto(const ImageMemory& memory, std::size_t offset, xcb_drawable_t drawable,
                        const coregraphics::PixelRect& area, std::size_t size);

    /* Memory for an image of whole rows, with anything in it, shared with the server if that can
     * be. No pixels if the server does not answer. Throws std::bad_alloc. */
    ImageMemory lend(std::uint32_t width, std::uint32_t height);

    /* The server refused to draw on memory that was lent: it is not asked to any more. */
    void stopDrawing();

    /* Frees memory that came back and is not likely to be lent again soon. */
    void trim();

  private:
    void choose();
    void fallBack(const std::string& reason);
    void use(ShmTransport::Passing passing, const std::string& reason);
    void usePlain(const std::string& reason);
    GrabResult grabPlain(xcb_drawable_t drawable, const coregraphics::PixelRect& area,
                         std::size_t size);
    xcb_pixmap_t copyOfScreen(const coregraphics::PixelRect& area);

    Connection& connection_;
    bool isChosen_ = false;
    std::optional<ShmTransport> sharedMemory_;  // null: images in replies
    // For images in replies only.
    struct Copy {
        explicit Copy(Connection& connection, const coregraphics::PixelRect& area);

        const std::uint32_t width;
        const std::uint32_t height;
        Pixmap pixmap;
        GraphicsContext context;
    };
    std::optional<Copy> copy_;
};

}  // namespace qor::x11
