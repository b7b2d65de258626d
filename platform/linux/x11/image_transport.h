/*
 * The best way there is to read the root window, or a pixmap.
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
#include "x11/shm_transport.h"

namespace qor::x11 {

class ImageTransport {
  public:
    explicit ImageTransport(Connection& connection) : connection_(connection) {}

    /* Reads an area inside a drawable, whose rows there take size bytes. Never unavailable but when
     * the last way fails. */
    GrabResult grab(xcb_drawable_t drawable, const coregraphics::PixelRect& area, std::size_t size);

  private:
    void choose();
    void fallBack(const std::string& reason);
    void use(ShmTransport::Passing passing, const std::string& reason);
    void usePlain(const std::string& reason);
    GrabResult grabPlain(xcb_drawable_t drawable, const coregraphics::PixelRect& area,
                         std::size_t size);

    Connection& connection_;
    bool isChosen_ = false;
    std::optional<ShmTransport> sharedMemory_;  // null: images in replies
};

}  // namespace qor::x11
