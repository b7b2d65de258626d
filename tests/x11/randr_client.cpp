#include "randr_client.h"

#include <cstdlib>
#include <stdexcept>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("the X server refused to " + what);
}

}  // namespace

RandrClient::RandrClient(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    xcb_connection_t* connection = connection_.get();
    if (xcb_connection_has_error(connection) != 0)
        throw std::runtime_error("cannot connect to " + display);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const Reply<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(
            connection, xcb_randr_get_screen_resources_current(connection, root_), nullptr));
    if (resources == nullptr || resources->num_outputs != 1 || resources->num_crtcs != 1)
        fail("tell of its one output");
    output_ = *xcb_randr_get_screen_resources_current_outputs(resources.get());
    crtc_ = *xcb_randr_get_screen_resources_current_crtcs(resources.get());
}

void RandrClient::check(xcb_void_cookie_t cookie, const char* what) const {
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection_.get(), cookie));
    if (error != nullptr)
        fail(std::string(what) + ", error " + std::to_string(error->error_code));
}

std::uint32_t RandrClient::createMode(const ModeTiming& timing) {
    const std::string name =
        "test " + std::to_string(timing.dotClock) + " " + std::to_string(timing.flags);
    xcb_randr_mode_info_t info{};
    info.width = timing.width;
    info.height = timing.height;
    info.dot_clock = timing.dotClock;
    info.htotal = timing.horizontalTotal;
    info.vtotal = timing.verticalTotal;
    info.mode_flags = timing.flags;
    info.name_len = static_cast<std::uint16_t>(name.size());
    const auto cookie = xcb_randr_create_mode(connection_.get(), root_, info,
                                              static_cast<std::uint32_t>(name.size()), name.data());
    const Reply<xcb_randr_create_mode_reply_t> reply(
        xcb_randr_create_mode_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr)
        fail("create a mode");
    check(xcb_randr_add_output_mode_checked(connection_.get(), output_, reply->mode), "add a mode");
    return reply->mode;
}

void RandrClient::setCrtc(std::uint32_t mode) {
    const bool isOn = mode != XCB_NONE;
    const auto cookie =
        xcb_randr_set_crtc_config(connection_.get(), crtc_, XCB_CURRENT_TIME, XCB_CURRENT_TIME, 0,
                                  0, mode, XCB_RANDR_ROTATION_ROTATE_0, isOn ? 1 : 0, &output_);
    const Reply<xcb_randr_set_crtc_config_reply_t> reply(
        xcb_randr_set_crtc_config_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr || reply->status != XCB_RANDR_SET_CONFIG_SUCCESS)
        fail("set a mode");
}

void RandrClient::resizeRoot(std::uint16_t width, std::uint16_t height) {
    check(xcb_randr_set_screen_size_checked(connection_.get(), root_, width, height, width / 4U,
                                            height / 4U),
          "resize the root window");
}

void RandrClient::setMode(const ModeTiming& timing) {
    const std::uint32_t mode = createMode(timing);
    // What is shown must be inside the root window at every moment.
    turnOff();
    resizeRoot(timing.width, timing.height);
    setCrtc(mode);
}

void RandrClient::turnOff() {
    setCrtc(XCB_NONE);
}

void RandrClient::setEdid(std::span<const std::uint8_t> edid) {
    const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection_.get(), xcb_intern_atom(connection_.get(), 0, 4, "EDID"), nullptr));
    if (atom == nullptr)
        fail("name a property");
    check(xcb_randr_change_output_property_checked(
              connection_.get(), output_, atom->atom, XCB_ATOM_INTEGER, 8, XCB_PROP_MODE_REPLACE,
              static_cast<std::uint32_t>(edid.size()), edid.data()),
          "set a property");
}
