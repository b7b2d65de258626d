/*
 * Shared memory that goes from frame to frame.
 *
 * Segments are lent to images. One that comes back is lent again; one that an image still holds is
 * not, so an image never changes. The thread that grabs takes and adds segments and removes those
 * that are not worth keeping; an image may give one back on any thread, at any time, even after the
 * pool was closed.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

#include "x11/shared_mapping.h"

namespace qor::x11 {

struct Segment {
    SharedMapping memory;
    std::uint32_t attachment;  // the server's name for it
    // The server's names for an image in it that it can draw on, 0 if it has none.
    std::uint32_t pixmap = 0;
    std::uint32_t picture = 0;
    std::uint32_t width = 0;  // of that image
    std::uint32_t height = 0;
};

class SegmentPool : public std::enable_shared_from_this<SegmentPool> {
  public:
    /* Lends a free segment of at least size bytes; null if there is none. */
    std::shared_ptr<Segment> take(std::size_t size);

    /* Adds a segment and lends it. */
    std::shared_ptr<Segment> add(Segment segment);

    /* Takes free segments out until at most count are left, those used last. The caller tells the
     * server and drops them. */
    std::list<Segment> shrinkTo(std::size_t count);

    /* From here on a segment that comes back is freed: the server has forgotten it. */
    void close();

  private:
    // One segment as a list of one: list nodes move from owner to owner without an allocation,
    // which giving back must do without.
    using Slot = std::list<Segment>;
    class Loan;

    void giveBack(Slot& slot) noexcept;

    std::mutex mutex_;
    Slot free_;
    bool isOpen_ = true;
};

}  // namespace qor::x11
