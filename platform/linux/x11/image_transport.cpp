#include "x11/image_transport.h"

#include <cstdint>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::PixelRect;
using coregraphics::trace;
using Passing = ShmTransport::Passing;

GrabResult ImageTransport::grab(xcb_drawable_t drawable, const PixelRect& area, std::size_t size) {
    if (!isChosen_)
        choose();
    while (sharedMemory_) {
        GrabResult result{GrabStatus::unavailable};
        const auto segment = sharedMemory_->lend(size, result.reason);
        if (!connection_.answers())
            return {};
        if (segment != nullptr)
            result = sharedMemory_->grab(drawable, area, size, *segment, 0);
        if (result.status == GrabStatus::done)
            result.bytes = {segment, segment->memory.data()};
        if (result.status != GrabStatus::unavailable)
            return result;
        fallBack(result.reason);
    }
    return grabPlain(drawable, area, size);
}

GrabResult ImageTransport::grabInto(const ImageMemory& memory, std::size_t offset,
                                    xcb_drawable_t drawable, const PixelRect& area,
                                    std::size_t size) {
    if (!sharedMemory_)
        return {GrabStatus::unavailable};
    GrabResult result = sharedMemory_->grab(drawable, area, size, *memory.segment, offset);
    if (result.status == GrabStatus::unavailable)
        fallBack(result.reason);
    return result;
}

ImageMemory ImageTransport::lend(std::uint32_t width, std::uint32_t height) {
    if (!isChosen_)
        choose();
    while (sharedMemory_) {
        std::string reason;
        const auto segment = sharedMemory_->lendImage(width, height, reason);
        if (!connection_.answers())
            return {};
        if (segment != nullptr)
            return {imageIn({segment, segment->memory.data()}, width, height), segment.get(),
                    segment->picture};
        fallBack(reason);
    }
    return {zeroImage(width, height)};
}

void ImageTransport::stopDrawing() {
    if (sharedMemory_)
        sharedMemory_->stopDrawing();
}

void ImageTransport::trim() {
    if (sharedMemory_)
        sharedMemory_->trim();
}

void ImageTransport::choose() {
    isChosen_ = true;
    const Link& link = connection_.link();
    if (link.hasSharedDescriptors)
        use(Passing::descriptor, "the server takes it");
    else if (link.hasSharedMemory)
        use(Passing::identifier, "the connection cannot pass descriptors");
    else
        usePlain("the server offers no shared memory");
}

void ImageTransport::fallBack(const std::string& reason) {
    if (sharedMemory_->passing() == Passing::descriptor)
        use(Passing::identifier, reason);
    else
        usePlain(reason);
}

void ImageTransport::use(Passing passing, const std::string& reason) {
    sharedMemory_.emplace(connection_, passing);
    trace("images through shared memory by %s: %s",
          passing == Passing::descriptor ? "descriptor" : "identifier", reason.c_str());
}

void ImageTransport::usePlain(const std::string& reason) {
    sharedMemory_.reset();
    trace("images in replies: %s", reason.c_str());
}

ImageTransport::Copy::Copy(Connection& connection, const PixelRect& area)
    : width(area.width), height(area.height), pixmap(connection), context(connection) {
    xcb_connection_t* handle = connection.handle();
    const xcb_screen_t& screen = connection.screen();
    // Not checked: if there is no copy, reading it tells so.
    xcb_create_pixmap(handle, screen.root_depth, pixmap.id(), screen.root,
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    const std::uint32_t noExposures = 0;
    const std::uint32_t values[]{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, noExposures};
    xcb_create_gc(handle, context.id(), screen.root,
                  XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
}

/* A server that keeps windows' contents may paint them on the screen only when that is read. If it
 * then has to tell of what was drawn, it does so in the middle of the reply with the image, after
 * which nothing that it sends can be understood. Reading a pixmap makes it paint nothing. */
xcb_pixmap_t ImageTransport::copyOfScreen(const PixelRect& area) {
    if (!copy_ || copy_->width < area.width || copy_->height < area.height) {
        copy_.reset();
        copy_.emplace(connection_, area);
    }
    xcb_copy_area(connection_.handle(), connection_.screen().root, copy_->pixmap.id(),
                  copy_->context.id(), static_cast<std::int16_t>(area.x),
                  static_cast<std::int16_t>(area.y), 0, 0, static_cast<std::uint16_t>(area.width),
                  static_cast<std::uint16_t>(area.height));
    return copy_->pixmap.id();
}

GrabResult ImageTransport::grabPlain(xcb_drawable_t drawable, const PixelRect& area,
                                     std::size_t size) {
    const bool isScreen = drawable == connection_.screen().root;
    const PixelRect place = isScreen ? PixelRect{0, 0, area.width, area.height} : area;
    if (isScreen)
        drawable = copyOfScreen(area);
    Request<xcb_get_image_reply_t> request(
        connection_,
        xcb_get_image(connection_.handle(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                      static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y),
                      static_cast<std::uint16_t>(place.width),
                      static_cast<std::uint16_t>(place.height), ~0U));
    std::shared_ptr<xcb_get_image_reply_t> reply = request.take();
    if (reply == nullptr && request.errorCode() == 0)
        return {};
    if (reply == nullptr &&
        (request.errorCode() == XCB_MATCH || request.errorCode() == XCB_DRAWABLE))
        return {GrabStatus::mismatch};
    if (reply == nullptr)
        return {GrabStatus::unavailable, nullptr,
                "the server refuses the image, error " + std::to_string(request.errorCode())};
    if (static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < size)
        return {GrabStatus::unavailable, nullptr, "the server sent less than the image"};
    auto* data = reinterpret_cast<std::byte*>(xcb_get_image_data(reply.get()));
    return {GrabStatus::done, {std::move(reply), data}};
}

}  // namespace qor::x11
