#include "x11/shm_transport.h"

#include <xcb/render.h>
#include <xcb/shm.h>

#include <cerrno>
#include <system_error>

#include "coregraphics/trace.h"
#include "x11/shm_identity.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

constexpr std::uint8_t kWritable = 0;

std::string systemReason(const char* what) {
    return std::string(what) + ": " + std::generic_category().message(errno);
}

GrabResult failure(unsigned errorCode) {
    // Unanswered, the server may yet write to the segment, which is free again. It does so before
    // it answers, and nobody is lent the segment before that.
    if (errorCode == 0)
        return {};
    if (errorCode == XCB_MATCH || errorCode == XCB_DRAWABLE)
        return {GrabStatus::mismatch};
    return {GrabStatus::unavailable, nullptr,
            "the server cannot write to shared memory, error " + std::to_string(errorCode)};
}

/* Pixels on shared memory have to be what images have: the server's own order is as good as ours
 * only if it is the same. */
bool offersDrawing(const Connection& connection) {
    const Link& link = connection.link();
    const auto order = xcb_get_setup(connection.handle())->image_byte_order;
    return link.hasSharedPixmaps && link.pictureFormats.argb != XCB_NONE &&
           order == XCB_IMAGE_ORDER_LSB_FIRST;
}

}  // namespace

ShmTransport::ShmTransport(Connection& connection, Passing passing)
    : connection_(connection), passing_(passing), canDraw_(offersDrawing(connection)) {}

// The server forgets the attachments when the connection ends, so nothing is sent, least of all on
// one that was lost.
ShmTransport::~ShmTransport() {
    pool_->close();
}

GrabResult ShmTransport::grab(xcb_drawable_t drawable, const PixelRect& area, std::size_t size,
                              const Segment& segment, std::size_t offset) {
    Request<xcb_shm_get_image_reply_t> request(
        connection_,
        xcb_shm_get_image(connection_.handle(), drawable, static_cast<std::int16_t>(area.x),
                          static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                          static_cast<std::uint16_t>(area.height), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP,
                          segment.attachment, static_cast<std::uint32_t>(offset)));
    const auto reply = request.take();
    if (reply == nullptr)
        return failure(request.errorCode());
    if (reply->size < size)
        return {GrabStatus::unavailable, nullptr, "the server wrote less than the image"};
    return {GrabStatus::done};
}

std::shared_ptr<Segment> ShmTransport::lend(std::size_t size, std::string& reason) {
    auto segment = pool_->take(size);
    // If none fits, all that are free are too small, and will not serve again soon.
    dropFree(segment == nullptr ? 0 : kMostFree);
    return segment == nullptr ? addSegment(size, reason) : segment;
}

std::shared_ptr<Segment> ShmTransport::lendImage(std::uint32_t width, std::uint32_t height,
                                                 std::string& reason) {
    constexpr std::size_t kBytesPerPixel = 4;
    auto segment = lend(std::size_t{width} * height * kBytesPerPixel, reason);
    if (segment == nullptr)
        return nullptr;
    if (!canDraw_)
        freePicture(*segment);
    else if (segment->picture == XCB_NONE || segment->width != width || segment->height != height)
        addPicture(*segment, width, height);
    return connection_.answers() ? segment : nullptr;
}

void ShmTransport::addPicture(Segment& segment, std::uint32_t width, std::uint32_t height) {
    constexpr std::uint8_t kDepth = 32;
    freePicture(segment);
    xcb_connection_t* handle = connection_.handle();
    segment.pixmap = connection_.takeIdentifier();
    segment.picture = connection_.takeIdentifier();
    segment.width = width;
    segment.height = height;
    const auto pixmapCookie = xcb_shm_create_pixmap_checked(
        handle, segment.pixmap, connection_.screen().root, static_cast<std::uint16_t>(width),
        static_cast<std::uint16_t>(height), kDepth, segment.attachment, 0);
    const auto pictureCookie =
        xcb_render_create_picture_checked(handle, segment.picture, segment.pixmap,
                                          connection_.link().pictureFormats.argb, 0, nullptr);
    const bool hasPixmap = succeeded(connection_, pixmapCookie);
    if (succeeded(connection_, pictureCookie) && hasPixmap)
        return;
    freePicture(segment);
    if (connection_.answers())
        stopDrawing();
}

void ShmTransport::stopDrawing() {
    coregraphics::trace("the server does not draw on shared memory");
    canDraw_ = false;
}

/* Not checked: what was not made cannot be freed either, and if the connection is lost it is gone.
 */
void ShmTransport::freePicture(Segment& segment) {
    if (segment.picture == XCB_NONE)
        return;
    xcb_render_free_picture(connection_.handle(), segment.picture);
    xcb_free_pixmap(connection_.handle(), segment.pixmap);
    connection_.giveBackIdentifier(segment.picture);
    connection_.giveBackIdentifier(segment.pixmap);
    segment.picture = segment.pixmap = XCB_NONE;
}

void ShmTransport::dropFree(std::size_t kept) {
    auto surplus = pool_->shrinkTo(kept);
    for (Segment& segment : surplus) {
        freePicture(segment);
        // Not checked: the attachment is known to exist, and if the connection is lost it is gone.
        xcb_shm_detach(connection_.handle(), segment.attachment);
    }
}

bool ShmTransport::isAttached(xcb_void_cookie_t cookie, std::uint32_t attachment) {
    if (succeeded(connection_, cookie))
        return true;
    // A server that does not answer now may attach it yet. Not checked: nothing depends on it.
    if (!connection_.answers() && !connection_.isLost())
        xcb_shm_detach(connection_.handle(), attachment);
    return false;
}

std::shared_ptr<Segment> ShmTransport::addSegment(std::size_t size, std::string& reason) {
    return passing_ == Passing::descriptor ? passDescriptor(size, reason)
                                           : passIdentifier(size, reason);
}

std::shared_ptr<Segment> ShmTransport::passDescriptor(std::size_t size, std::string& reason) {
    auto memory = DescriptorMemory::create(size);
    if (!memory) {
        reason = systemReason("no memory to pass");
        return nullptr;
    }
    xcb_connection_t* handle = connection_.handle();
    const xcb_shm_seg_t attachment = xcb_generate_id(handle);
    // Checked: a server behind a sandbox may not be able to map it. The descriptor is closed by the
    // call, whatever becomes of it.
    const auto cookie =
        xcb_shm_attach_fd_checked(handle, attachment, memory->descriptor, kWritable);
    if (!isAttached(cookie, attachment)) {
        reason = "the server does not take the memory's descriptor";
        return nullptr;
    }
    return pool_->add({std::move(memory->mapping), attachment});
}

std::shared_ptr<Segment> ShmTransport::passIdentifier(std::size_t size, std::string& reason) {
    auto memory = IdentifierMemory::create(size);
    if (!memory) {
        reason = systemReason("no System V memory");
        return nullptr;
    }
    const auto identifier = static_cast<std::uint32_t>(memory->identifier);
    if (!identifierProven_ && !serverSees(connection_, memory->mapping, identifier)) {
        reason = "the server does not see this machine's System V memory";
        return nullptr;
    }
    identifierProven_ = true;
    xcb_connection_t* handle = connection_.handle();
    const xcb_shm_seg_t attachment = xcb_generate_id(handle);
    // Checked: the server may be out of segments, or of another user.
    const auto cookie = xcb_shm_attach_checked(handle, attachment, identifier, kWritable);
    if (!isAttached(cookie, attachment)) {
        reason = "the server does not attach System V memory";
        return nullptr;
    }
    return pool_->add({std::move(memory->mapping), attachment});
}

}  // namespace qor::x11
