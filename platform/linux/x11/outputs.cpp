#include "x11/outputs.h"

#include <xcb/randr.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>

namespace qor::x11 {
namespace {

using ResourcesReply = xcb_randr_get_screen_resources_current_reply_t;
using OutputReply = xcb_randr_get_output_info_reply_t;
using CrtcReply = xcb_randr_get_crtc_info_reply_t;

double refreshRate(const ResourcesReply& resources, std::uint32_t modeId) {
    const std::span modes(
        xcb_randr_get_screen_resources_current_modes(&resources),
        static_cast<std::size_t>(xcb_randr_get_screen_resources_current_modes_length(&resources)));
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

std::string outputName(const OutputReply& output) {
    const auto length = static_cast<std::size_t>(xcb_randr_get_output_info_name_length(&output));
    return std::string(reinterpret_cast<const char*>(xcb_randr_get_output_info_name(&output)),
                       length);
}

/* An output's two descriptions, the second asked for once the first names the CRTC. */
struct Question {
    std::uint32_t outputId;
    Request<OutputReply> outputRequest;
    Reply<OutputReply> output = nullptr;
    std::unique_ptr<Request<CrtcReply>> crtcRequest = nullptr;
};

/* Asks about all outputs at once, then about all their CRTCs: two round trips, however many. An
 * output that is taken away in between is refused by the server, and left out. */
std::vector<std::unique_ptr<Question>> askOutputs(Connection& connection,
                                                  const ResourcesReply& resources) {
    const std::span ids(xcb_randr_get_screen_resources_current_outputs(&resources),
                        resources.num_outputs);
    xcb_connection_t* handle = connection.handle();
    std::vector<std::unique_ptr<Question>> questions;
    for (const xcb_randr_output_t id : ids) {
        const auto cookie = xcb_randr_get_output_info(handle, id, resources.config_timestamp);
        questions.emplace_back(new Question{id, {connection, cookie}});
    }
    for (const auto& question : questions) {
        if (!connection.answers())
            break;
        question->output = question->outputRequest.take();
        if (question->output == nullptr || question->output->crtc == XCB_NONE)
            continue;
        const auto cookie =
            xcb_randr_get_crtc_info(handle, question->output->crtc, resources.config_timestamp);
        question->crtcRequest = std::make_unique<Request<CrtcReply>>(connection, cookie);
    }
    return questions;
}

std::optional<Output> activeOutput(Question& question, const ResourcesReply& resources) {
    if (question.crtcRequest == nullptr)
        return std::nullopt;
    const auto crtc = question.crtcRequest->take();
    if (crtc == nullptr || crtc->mode == XCB_NONE || crtc->width == 0 || crtc->height == 0)
        return std::nullopt;
    return Output{question.outputId,
                  outputName(*question.output),
                  {crtc->x, crtc->y, crtc->width, crtc->height},
                  refreshRate(resources, crtc->mode)};
}

void putFirst(std::vector<Output>& outputs, std::uint32_t primaryId) {
    const auto primary = std::ranges::find(outputs, primaryId, &Output::id);
    if (primary != outputs.end())
        std::rotate(outputs.begin(), primary, primary + 1);
}

}  // namespace

std::optional<OutputList> listOutputs(Connection& connection) {
    const xcb_window_t root = connection.screen().root;
    // The current resources, as the other request has the server probe every connector, which
    // takes long and may make the displays flicker.
    Request<ResourcesReply> resourcesRequest(
        connection, xcb_randr_get_screen_resources_current(connection.handle(), root));
    Request<xcb_randr_get_output_primary_reply_t> primaryRequest(
        connection, xcb_randr_get_output_primary(connection.handle(), root));
    const auto resources = resourcesRequest.take();
    if (resources == nullptr)
        return std::nullopt;
    const auto primary = primaryRequest.take();

    OutputList list;
    list.hasOutputs = resources->num_outputs > 0;
    for (const auto& question : askOutputs(connection, *resources)) {
        if (!connection.answers())
            return std::nullopt;
        if (auto output = activeOutput(*question, *resources))
            list.active.push_back(std::move(*output));
    }
    if (!connection.answers())
        return std::nullopt;
    if (primary != nullptr)
        putFirst(list.active, primary->output);
    return list;
}

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
    const std::uint8_t* data = xcb_randr_get_output_property_data(property.get());
    return {data, data + xcb_randr_get_output_property_data_length(property.get())};
}

}  // namespace qor::x11
