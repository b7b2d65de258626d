/* What is common to asking a server about an extension and taking its replies. */
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace qor::x11 {

struct FreeReply {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

inline bool isAtLeast(unsigned major, unsigned minor, unsigned wantedMajor, unsigned wantedMinor) {
    return major > wantedMajor || (major == wantedMajor && minor >= wantedMinor);
}

inline bool isPresent(xcb_connection_t* handle, xcb_extension_t& extension) {
    const xcb_query_extension_reply_t* data = xcb_get_extension_data(handle, &extension);
    return data != nullptr && data->present != 0;  // null if the connection was lost meanwhile
}

}  // namespace qor::x11
