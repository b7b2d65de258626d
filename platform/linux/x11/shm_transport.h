/* Reading a drawable through memory shared with the server (MIT-SHM). */
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

    /* Reads an area inside a drawable, whose rows there take size bytes. */
    GrabResult grab(xcb_drawable_t drawable, const coregraphics::PixelRect& area, std::size_t size);

  private:
    std::shared_ptr<const Segment> segmentFor(std::size_t size, std::string& reason);
    std::shared_ptr<const Segment> addSegment(std::size_t size, std::string& reason);
    std::shared_ptr<const Segment> passDescriptor(std::size_t size, std::string& reason);
    std::shared_ptr<const Segment> passIdentifier(std::size_t size, std::string& reason);
    bool isAttached(xcb_void_cookie_t cookie, std::uint32_t attachment);
    void dropFree(std::size_t kept);

    Connection& connection_;
    const Passing passing_;
    const std::shared_ptr<SegmentPool> pool_ = std::make_shared<SegmentPool>();
    bool identifierProven_ = false;
};

}  // namespace qor::x11
