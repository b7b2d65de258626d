#include "randr_client.h"

#include <sys/uio.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <array>
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

bool isOnItsSide(std::uint16_t rotation) {
    return (rotation & (XCB_RANDR_ROTATION_ROTATE_90 | XCB_RANDR_ROTATION_ROTATE_270)) != 0;
}

/* The size of the root window that holds all that is shown. */
struct Size {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};
Size sizeAround(const std::vector<Placement>& placements) {
    const auto farther = [](std::uint16_t reached, int start, int length) {
        return static_cast<std::uint16_t>(std::max<int>(reached, start + length));
    };
    Size size;
    for (const Placement& placement : placements) {
        int width = placement.mode.width;
        int height = placement.mode.height;
        if (isOnItsSide(placement.rotation))
            std::swap(width, height);
        size = {farther(size.width, placement.x, width), farther(size.height, placement.y, height)};
    }
    return size;
}

}  // namespace

ModeTiming modeOfSize(std::uint16_t width, std::uint16_t height) {
    constexpr std::uint16_t kBlank = 40;
    const auto columns = static_cast<std::uint16_t>(width + kBlank);
    const auto lines = static_cast<std::uint16_t>(height + kBlank);
    return {width, height, columns * lines * 50U, columns, lines, 0};
}

RandrClient::RandrClient(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    xcb_connection_t* connection = connection_.get();
    if (xcb_connection_has_error(connection) != 0)
        throw std::runtime_error("cannot connect to " + display);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const Reply<xcb_randr_get_screen_resources_reply_t> resources(
        xcb_randr_get_screen_resources_reply(
            connection, xcb_randr_get_screen_resources(connection, root_), nullptr));
    if (resources == nullptr || resources->num_outputs == 0 ||
        resources->num_outputs != resources->num_crtcs)
        fail("tell of its outputs, one for each CRTC");
    const auto* outputs = xcb_randr_get_screen_resources_outputs(resources.get());
    outputs_.assign(outputs, outputs + resources->num_outputs);
    const auto* crtcs = xcb_randr_get_screen_resources_crtcs(resources.get());
    crtcs_.assign(crtcs, crtcs + resources->num_crtcs);
}

void RandrClient::check(xcb_void_cookie_t cookie, const char* what) const {
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection_.get(), cookie));
    if (error != nullptr)
        fail(std::string(what) + ", error " + std::to_string(error->error_code));
}

std::uint32_t RandrClient::createMode(const ModeTiming& timing) const {
    const std::string name = "test " + std::to_string(modes_.size());
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
    return reply->mode;
}

std::uint32_t RandrClient::modeFor(const ModeTiming& timing, std::size_t position) {
    if (!modes_.contains(timing))
        modes_.emplace(timing, createMode(timing));
    const std::uint32_t mode = modes_.at(timing);
    if (offered_.emplace(mode, position).second)
        check(xcb_randr_add_output_mode_checked(connection_.get(), output(position), mode),
              "add a mode");
    return mode;
}

RandrClient::CrtcState RandrClient::crtcState(std::size_t position) const {
    const Reply<xcb_randr_get_crtc_info_reply_t> reply(xcb_randr_get_crtc_info_reply(
        connection_.get(),
        xcb_randr_get_crtc_info(connection_.get(), crtcs_.at(position), XCB_CURRENT_TIME),
        nullptr));
    if (reply == nullptr)
        fail("tell of a CRTC");
    return {reply->mode, reply->x, reply->y, reply->rotation};
}

void RandrClient::setCrtc(std::size_t position, const CrtcState& state) const {
    const std::uint32_t id = output(position);
    const auto cookie = xcb_randr_set_crtc_config(
        connection_.get(), crtcs_.at(position), XCB_CURRENT_TIME, XCB_CURRENT_TIME, state.x,
        state.y, state.mode, state.rotation, state.mode == XCB_NONE ? 0 : 1, &id);
    const Reply<xcb_randr_set_crtc_config_reply_t> reply(
        xcb_randr_set_crtc_config_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr || reply->status != XCB_RANDR_SET_CONFIG_SUCCESS)
        fail("set a mode");
}

void RandrClient::resizeRoot(std::uint16_t width, std::uint16_t height) const {
    check(xcb_randr_set_screen_size_checked(connection_.get(), root_, width, height, width / 4U + 1,
                                            height / 4U + 1),
          "resize the root window");
}

void RandrClient::arrange(const std::vector<Placement>& placements) {
    std::vector<CrtcState> wanted(outputs_.size());
    for (const Placement& placement : placements)
        wanted.at(placement.output) = {modeFor(placement.mode, placement.output), placement.x,
                                       placement.y, placement.rotation};
    // What is shown must be inside the root window at every moment.
    std::vector<std::size_t> changed;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        const CrtcState present = crtcState(i);
        if (present == wanted[i])
            continue;
        changed.push_back(i);
        if (present.mode != XCB_NONE)
            setCrtc(i, {});
    }
    if (!placements.empty()) {
        const Size size = sizeAround(placements);
        resizeRoot(size.width, size.height);
    }
    for (const std::size_t i : changed)
        if (wanted[i].mode != XCB_NONE)
            setCrtc(i, wanted[i]);
}

void RandrClient::setMode(const ModeTiming& timing) {
    arrange({{0, timing}});
}

void RandrClient::rotate(std::uint16_t rotation) {
    const Reply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), root_), nullptr));
    if (root == nullptr)
        fail("tell the root window's size");
    CrtcState state = crtcState(0);
    if (isOnItsSide(state.rotation) != isOnItsSide(rotation))
        std::swap(root->width, root->height);
    state.rotation = rotation;
    setCrtc(0, {});
    resizeRoot(root->width, root->height);
    setCrtc(0, state);
}

void RandrClient::setPrimary(std::optional<std::size_t> position) {
    check(xcb_randr_set_output_primary_checked(connection_.get(), root_,
                                               position ? output(*position) : XCB_NONE),
          "choose the main output");
}

xcb_atom_t RandrClient::atom(const std::string& name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection_.get(),
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    if (reply == nullptr)
        fail("take a name");
    return reply->atom;
}

void RandrClient::setMonitor(const MonitorByHand& monitor) {
    std::vector<std::uint32_t> outputs;
    for (const std::size_t position : monitor.outputs)
        outputs.push_back(output(position));
    xcb_randr_monitor_info_t info{};
    info.name = atom(monitor.name);
    info.primary = monitor.isPrimary ? 1 : 0;
    info.nOutput = static_cast<std::uint16_t>(outputs.size());
    info.x = monitor.area.x;
    info.y = monitor.area.y;
    info.width = monitor.area.width;
    info.height = monitor.area.height;
    info.width_in_millimeters = 1;
    info.height_in_millimeters = 1;
    check(sendMonitor(info, outputs), "set a monitor");
}

/* The client library's own function for this request sends, behind the description, memory that it
 * never set, of a length that it never set. */
xcb_void_cookie_t RandrClient::sendMonitor(xcb_randr_monitor_info_t& info,
                                           std::vector<std::uint32_t>& outputs) const {
    constexpr xcb_protocol_request_t kRequest{3, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
    xcb_randr_set_monitor_request_t head{};
    head.window = root_;
    // The library puts its own pieces into the two before the first.
    std::array<iovec, 5> pieces{{{},
                                 {},
                                 {&head, sizeof head},
                                 {&info, sizeof info},
                                 {outputs.data(), outputs.size() * sizeof outputs[0]}}};
    return {xcb_send_request(connection_.get(), XCB_REQUEST_CHECKED, &pieces[2], &kRequest)};
}

void RandrClient::deleteMonitor(const std::string& name) {
    check(xcb_randr_delete_monitor_checked(connection_.get(), root_, atom(name)),
          "delete a monitor");
}

void RandrClient::setEdid(std::span<const std::uint8_t> edid, std::size_t position) {
    check(xcb_randr_change_output_property_checked(
              connection_.get(), output(position), atom("EDID"), XCB_ATOM_INTEGER, 8,
              XCB_PROP_MODE_REPLACE, static_cast<std::uint32_t>(edid.size()), edid.data()),
          "set a property");
}
