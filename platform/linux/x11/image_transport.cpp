#include "x11/image_transport.h"

#include <cstdint>

#include "coregraphics/trace.h"

namespace qor::x11 {

using coregraphics::PixelRect;
using coregraphics::trace;
using Passing = ShmTransport::Passing;

GrabResult ImageTransport::grab(xcb_drawable_t drawable, const PixelRect& area, std::size_t size) {
    if (!isChosen_)
        choose();
    while (sharedMemory_) {
        GrabResult result = sharedMemory_->grab(drawable, area, size);
        if (result.status != GrabStatus::unavailable)
            return result;
        fallBack(result.reason);
    }
    return grabPlain(drawable, area, size);
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

GrabResult ImageTransport::grabPlain(xcb_drawable_t drawable, const PixelRect& area,
                                     std::size_t size) {
    Request<xcb_get_image_reply_t> request(
        connection_,
        xcb_get_image(connection_.handle(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                      static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                      static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), ~0U));
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
