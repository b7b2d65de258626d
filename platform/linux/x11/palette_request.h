/* The colours that pixels without colours of their own stand for. */
#pragma once

#include <cstdint>
#include <vector>

#include "x11/connection.h"

namespace qor::x11 {

/* Asks for the present colours of the screen's default colormap. */
class PaletteRequest {
  public:
    PaletteRequest(Connection& connection, unsigned size);

    /* Colours as 0xAARRGGBB; empty if the server did not tell. Once only. */
    std::vector<std::uint32_t> take();

  private:
    Request<xcb_query_colors_reply_t> request_;
};

}  // namespace qor::x11
