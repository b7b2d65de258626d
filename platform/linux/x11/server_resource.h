/* Owners of what a client makes in the server. */
#pragma once

#include <xcb/render.h>

#include <cstdint>

#include "x11/connection.h"

namespace qor::x11 {

/* Frees a server's object by its identifier. That is not checked: if making the object failed, so
 * does freeing it, and if the connection is lost the server has freed it. */
template <xcb_void_cookie_t (*free)(xcb_connection_t*, std::uint32_t)>
class ServerResource {
  public:
    /* Takes an identifier; the caller sends the request that makes the object. */
    explicit ServerResource(Connection& connection)
        : connection_(connection), id_(connection.takeIdentifier()) {}

    ~ServerResource() {
        if (connection_.handle() == nullptr)
            return;  // left to the parent of a forked child, with all that was made on it
        free(connection_.handle(), id_);
        connection_.giveBackIdentifier(id_);
    }

    ServerResource(const ServerResource&) = delete;
    ServerResource& operator=(const ServerResource&) = delete;

    std::uint32_t id() const { return id_; }

  private:
    Connection& connection_;
    const std::uint32_t id_;
};

using GraphicsContext = ServerResource<xcb_free_gc>;
using Pixmap = ServerResource<xcb_free_pixmap>;
using Window = ServerResource<xcb_destroy_window>;
using Picture = ServerResource<xcb_render_free_picture>;

}  // namespace qor::x11
