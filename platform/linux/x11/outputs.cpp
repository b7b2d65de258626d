#include "x11/outputs.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "coregraphics/edid.h"
#include "x11/property_text.h"
#include "x11/reply_list.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

using ResourcesReply = xcb_randr_get_screen_resources_current_reply_t;
using CrtcReply = xcb_randr_get_crtc_info_reply_t;
using MonitorsReply = xcb_randr_get_monitors_reply_t;
using GeometryReply = xcb_get_geometry_reply_t;
using OutputReply = xcb_randr_get_output_info_reply_t;

double refreshRate(const ResourcesReply& resources, std::uint32_t modeId) {
    const auto modes = listIn(resources, xcb_randr_get_screen_resources_current_modes(&resources),
                              resources.num_modes);
    const auto mode = std::ranges::find(modes, modeId, &xcb_randr_mode_info_t::id);
    if (mode == modes.end() || mode->htotal == 0 || mode->vtotal == 0)
        return 0;
    // The mode counts the lines of a whole frame: interlaced, each refresh draws half of them;
    // double-scanned, each one twice.
    double lines = mode->vtotal;
    if ((mode->mode_flags & XCB_RANDR_MODE_FLAG_DOUBLE_SCAN) != 0)
        lines *= 2;
    if ((mode->mode_flags & XCB_RANDR_MODE_FLAG_INTERLACE) != 0)
        lines /= 2;
    return mode->dot_clock / (mode->htotal * lines);
}

/* Whether an output shows what the CRTC reads. */
bool feeds(const CrtcReply& crtc, std::uint32_t output) {
    const auto fed = listIn(crtc, xcb_randr_get_crtc_info_outputs(&crtc), crtc.num_outputs);
    return crtc.mode != XCB_NONE && std::ranges::count(fed, output) > 0;
}

std::vector<Output> activeOutputs(const ResourcesReply& resources,
                                  const std::vector<Reply<CrtcReply>>& crtcs) {
    std::vector<Output> outputs;
    for (const xcb_randr_output_t id :
         listIn(resources, xcb_randr_get_screen_resources_current_outputs(&resources),
                resources.num_outputs)) {
        const auto crtc =
            std::ranges::find_if(crtcs, [id](const auto& reply) { return feeds(*reply, id); });
        if (crtc == crtcs.end())
            continue;
        const PixelRect area{(*crtc)->x, (*crtc)->y, (*crtc)->width, (*crtc)->height};
        if (!area.empty())
            outputs.push_back({id, area, refreshRate(resources, (*crtc)->mode)});
    }
    return outputs;
}

std::vector<Monitor> monitorsIn(const MonitorsReply& reply) {
    std::vector<Monitor> monitors;
    for (auto each = xcb_randr_get_monitors_monitors_iterator(&reply); each.rem > 0;
         xcb_randr_monitor_info_next(&each)) {
        if (listIn(reply, each.data, 1).empty())
            break;
        const xcb_randr_monitor_info_t& info = *each.data;
        const auto outputs = listIn(reply, xcb_randr_monitor_info_outputs(&info), info.nOutput);
        monitors.push_back({info.name,
                            info.automatic != 0,
                            info.primary != 0,
                            {info.x, info.y, info.width, info.height},
                            {outputs.begin(), outputs.end()}});
    }
    return monitors;
}

Request<GeometryReply> askRoot(Connection& connection) {
    return {connection, xcb_get_geometry(connection.handle(), connection.screen().root)};
}

bool takeRoot(Request<GeometryReply>& request, Arrangement& arrangement) {
    const auto geometry = request.take();
    if (geometry != nullptr)
        arrangement.root = {0, 0, geometry->width, geometry->height};
    return geometry != nullptr;
}

/* Asks about the root window and all CRTCs at once. A CRTC that is taken away meanwhile is refused
 * by the server, and left out. */
bool askAreas(Connection& connection, const ResourcesReply& resources, Arrangement& arrangement) {
    std::deque<Request<CrtcReply>> requests;
    for (const xcb_randr_crtc_t crtc :
         listIn(resources, xcb_randr_get_screen_resources_current_crtcs(&resources),
                resources.num_crtcs))
        requests.emplace_back(connection, xcb_randr_get_crtc_info(connection.handle(), crtc,
                                                                  resources.config_timestamp));
    auto rootRequest = askRoot(connection);
    std::vector<Reply<CrtcReply>> crtcs;
    for (Request<CrtcReply>& request : requests) {
        if (!connection.answers())
            return false;
        if (auto crtc = request.take())
            crtcs.push_back(std::move(crtc));
    }
    arrangement.outputs = activeOutputs(resources, crtcs);
    return connection.answers() && takeRoot(rootRequest, arrangement);
}

std::unique_ptr<Request<MonitorsReply>> askMonitors(Connection& connection) {
    constexpr std::uint8_t kActiveOnly = 1;
    if (!connection.link().hasMonitors)
        return nullptr;
    return std::make_unique<Request<MonitorsReply>>(
        connection,
        xcb_randr_get_monitors(connection.handle(), connection.screen().root, kActiveOnly));
}

bool askOutputs(Connection& connection, Arrangement& arrangement) {
    // The current resources, as the other request has the server probe every connector, which
    // takes long and may make the displays flicker.
    Request<ResourcesReply> resourcesRequest(
        connection,
        xcb_randr_get_screen_resources_current(connection.handle(), arrangement.rootId));
    Request<xcb_randr_get_output_primary_reply_t> primaryRequest(
        connection, xcb_randr_get_output_primary(connection.handle(), arrangement.rootId));
    const auto monitorsRequest = askMonitors(connection);
    const auto resources = resourcesRequest.take();
    if (resources == nullptr)
        return false;
    if (const auto primary = primaryRequest.take())
        arrangement.mainOutput = primary->output;
    if (const auto monitors = monitorsRequest == nullptr ? nullptr : monitorsRequest->take())
        arrangement.monitors = monitorsIn(*monitors);
    arrangement.hasOutputs = resources->num_outputs > 0;
    return connection.answers() && askAreas(connection, *resources, arrangement);
}

/* The description data of the display at an output; empty if there is none. */
std::vector<std::uint8_t> readEdid(Connection& connection, std::uint32_t outputId) {
    constexpr std::string_view kName = "EDID";
    Request<xcb_intern_atom_reply_t> atomRequest(
        connection, xcb_intern_atom(connection.handle(), 1, kName.size(), kName.data()));
    const auto atom = atomRequest.take();
    if (atom == nullptr || atom->atom == XCB_ATOM_NONE)
        return {};
    constexpr std::uint32_t kMostBytes = 256 * 128;  // blocks are numbered with one byte
    Request<xcb_randr_get_output_property_reply_t> propertyRequest(
        connection,
        xcb_randr_get_output_property(connection.handle(), outputId, atom->atom,
                                      XCB_GET_PROPERTY_TYPE_ANY, 0, kMostBytes / 4, 0, 0));
    const auto property = propertyRequest.take();
    if (property == nullptr || property->format != 8)
        return {};
    const auto data =
        listIn(*property, xcb_randr_get_output_property_data(property.get()), property->num_items);
    return {data.begin(), data.end()};
}

/* Names are bytes that anybody may have chosen. */
template <typename Answer, typename Byte>
std::string nameIn(const Answer& answer, const Byte* first, std::size_t length) {
    const auto bytes = listIn(answer, first, length);
    return readableText({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                        TextEncoding::utf8, false);
}

}  // namespace

std::optional<Arrangement> askArrangement(Connection& connection) {
    const xcb_screen_t& screen = connection.screen();
    Arrangement arrangement;
    arrangement.rootId = screen.root;
    arrangement.depth = screen.root_depth;
    bool isAnswered = false;
    if (connection.link().hasOutputs) {
        isAnswered = askOutputs(connection, arrangement);
    } else {
        auto request = askRoot(connection);
        isAnswered = takeRoot(request, arrangement);
    }
    return isAnswered ? std::optional(std::move(arrangement)) : std::nullopt;
}

std::optional<std::string> askOutputName(Connection& connection, std::uint32_t outputId) {
    Request<OutputReply> outputRequest(
        connection, xcb_randr_get_output_info(connection.handle(), outputId, XCB_CURRENT_TIME));
    const auto productName = coregraphics::productName(readEdid(connection, outputId));
    const auto output = outputRequest.take();
    if (output == nullptr)
        return std::nullopt;
    return productName.value_or(
        nameIn(*output, xcb_randr_get_output_info_name(output.get()), output->name_len));
}

std::optional<std::string> askAtomName(Connection& connection, std::uint32_t atom) {
    Request<xcb_get_atom_name_reply_t> request(connection,
                                               xcb_get_atom_name(connection.handle(), atom));
    const auto reply = request.take();
    if (reply == nullptr)
        return std::nullopt;
    return nameIn(*reply, xcb_get_atom_name_name(reply.get()), reply->name_len);
}

}  // namespace qor::x11
