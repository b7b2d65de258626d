/* An image of any area, out of the part of it that the server could give. No protocol in here. */
#pragma once

#include <cstddef>
#include <memory>

#include "coregraphics/pixel_buffer.h"
#include "x11/pixel_format.h"

namespace qor::x11 {

/* What two rectangles have in common; empty if nothing. */
coregraphics::PixelRect intersection(const coregraphics::PixelRect& a,
                                     const coregraphics::PixelRect& b);

/* The smallest rectangle that holds both, of those that a server tells of; of an empty one, that
 * holds the other. */
coregraphics::PixelRect around(const coregraphics::PixelRect& a, const coregraphics::PixelRect& b);

/* An image of area, zero outside visible. visible lies in area; rows are its rows in the server's
 * format, or null if it is empty, and nobody else uses them: where they are the whole area at 32
 * bits a pixel they become the image, converted in place. Throws std::bad_alloc. */
coregraphics::PixelBuffer desktopImage(const coregraphics::PixelRect& area,
                                       const coregraphics::PixelRect& visible,
                                       const PixelFormat& format, std::shared_ptr<std::byte> rows);

/* An image in memory that is large enough, rows without gaps. */
coregraphics::PixelBuffer imageIn(std::shared_ptr<std::byte> memory, std::uint32_t width,
                                  std::uint32_t height);

/* An image that is all zero, in memory of its own. Throws std::bad_alloc. */
coregraphics::PixelBuffer zeroImage(std::uint32_t width, std::uint32_t height);

/* Puts rows in the server's format in the place of a part of an image. part lies in area, which the
 * image is of. The rows may be those of the image itself, if part has its width. */
void putRows(const std::byte* rows, const PixelFormat& format, const coregraphics::PixelRect& part,
             const coregraphics::PixelRect& area, const coregraphics::PixelBuffer& image);

/* Puts pixels in the place of those of an image. part lies in area, which the image is of. */
void put(const coregraphics::PixelBuffer& pixels, const coregraphics::PixelRect& part,
         const coregraphics::PixelRect& area, const coregraphics::PixelBuffer& image);

}  // namespace qor::x11
