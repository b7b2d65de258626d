#include "x11/shm_identity.h"

#include <sys/random.h>
#include <xcb/shm.h>

#include <array>
#include <cstddef>
#include <cstring>

namespace qor::x11 {
namespace {

using Token = std::array<std::byte, 16>;

// The token as a picture: one row of one-bit pixels, a format that every server has, in which every
// bit counts and rows have no padding.
constexpr std::uint8_t kDepth = 1;
constexpr std::uint16_t kWidth = sizeof(Token) * 8;
constexpr std::uint16_t kHeight = 1;
constexpr std::uint8_t kReadOnly = 1;

/* An attachment, a bitmap and a drawing context, for the length of one question. None of the
 * requests that make them is checked: if one fails, so does what is built on it, and the answer is
 * no. */
class Workbench {
  public:
    Workbench(Connection& connection, std::uint32_t identifier)
        : handle_(connection.handle()),
          attachment(xcb_generate_id(handle_)),
          bitmap(xcb_generate_id(handle_)),
          context(xcb_generate_id(handle_)) {
        xcb_shm_attach(handle_, attachment, identifier, kReadOnly);
        xcb_create_pixmap(handle_, kDepth, bitmap, connection.screen().root, kWidth, kHeight);
        xcb_create_gc(handle_, context, bitmap, 0, nullptr);
    }

    ~Workbench() {
        xcb_free_gc(handle_, context);
        xcb_free_pixmap(handle_, bitmap);
        xcb_shm_detach(handle_, attachment);
    }

    Workbench(const Workbench&) = delete;
    Workbench& operator=(const Workbench&) = delete;

  private:
    xcb_connection_t* const handle_;

  public:
    const xcb_shm_seg_t attachment;
    const xcb_pixmap_t bitmap;
    const xcb_gcontext_t context;
};

}  // namespace

bool serverSees(Connection& connection, const SharedMapping& memory, std::uint32_t identifier) {
    Token token;
    if (memory.size() < token.size() ||
        getrandom(token.data(), token.size(), 0) != static_cast<ssize_t>(token.size()))
        return false;
    std::memcpy(memory.data(), token.data(), token.size());

    const Workbench bench(connection, identifier);
    xcb_connection_t* handle = connection.handle();
    xcb_shm_put_image(handle, bench.bitmap, bench.context, kWidth, kHeight, 0, 0, kWidth, kHeight,
                      0, 0, kDepth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, bench.attachment, 0);
    Request<xcb_get_image_reply_t> request(
        connection,
        xcb_get_image(handle, XCB_IMAGE_FORMAT_Z_PIXMAP, bench.bitmap, 0, 0, kWidth, kHeight, ~0U));
    const auto reply = request.take();
    return reply != nullptr &&
           static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) >= token.size() &&
           std::memcmp(xcb_get_image_data(reply.get()), token.data(), token.size()) == 0;
}

}  // namespace qor::x11
