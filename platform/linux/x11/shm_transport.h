/* Memory shared with the server (MIT-SHM): reading a drawable through it, and drawing on it. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/grab_result.h"
#include "x11/segment_pool.h"

namespace qor::x11 {

class ShmTransport {
  public:
    /* How the server gets to know the memory. */
    enum class Passing { descriptor, identifier };

    ShmTransport(Connection& connection, Passing passing);
    ~ShmTransport();
    ShmTransport(const ShmTransport&) = delete;
    ShmTransport& operator=(const ShmTransport&) = delete;

    Passing passing() const { return passing_; }

    /* Lends memory of at least size bytes, with anything in it. Null, with the reason, if there is
     * none to be had, or the server does not answer. */
    std::shared_ptr<Segment> lend(std::size_t size, std::string& reason);

    /* The same for an image of 32 bits a pixel. Where the server can draw on shared memory, the
     * segment has a picture of it. */
    std::shared_ptr<Segment> lendImage(std::uint32_t width, std::uint32_t height,
                                       std::string& reason);

    /* From here on, no memory that is lent has a picture. */
    void stopDrawing();

    /* Reads an area inside a drawable, whose rows there take size bytes, to a place in a segment,
     * counted in bytes. The result has no bytes of its own. */
    GrabResult grab(xcb_drawable_t drawable, const coregraphics::PixelRect& area, std::size_t size,
                    const Segment& segment, std::size_t offset);

    /* Frees memory that came back and is not likely to be lent again soon. */
    void trim() { dropFree(kMostFree); }

  private:
    // Enough for a caller that holds a few images in turn.
    static constexpr std::size_t kMostFree = 3;

    std::shared_ptr<Segment> addSegment(std::size_t size, std::string& reason);
    std::shared_ptr<Segment> passDescriptor(std::size_t size, std::string& reason);
    std::shared_ptr<Segment> passIdentifier(std::size_t size, std::string& reason);
    bool isAttached(xcb_void_cookie_t cookie, std::uint32_t attachment);
    void addPicture(Segment& segment, std::uint32_t width, std::uint32_t height);
    void freePicture(Segment& segment);
    void dropFree(std::size_t kept);

    Connection& connection_;
    const Passing passing_;
    const std::shared_ptr<SegmentPool> pool_ = std::make_shared<SegmentPool>();
    bool identifierProven_ = false;
    bool canDraw_;
};

}  // namespace qor::x11
