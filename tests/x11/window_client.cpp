#include "window_client.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

constexpr std::uint8_t kTranslucentDepth = 32;

/* On the true-colour screens that the tests of windows use. */
std::uint32_t pixelFor(Color color) {
    return std::uint32_t{color.red} << 16 | std::uint32_t{color.green} << 8 | color.blue;
}

xcb_rectangle_t rectangleOf(const Area& area) {
    return {area.x, area.y, area.width, area.height};
}

}  // namespace

WindowClient::WindowClient(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0)
        throw std::runtime_error("the window client cannot connect to " + display);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
    context_ = xcb_generate_id(connection_.get());
    xcb_create_gc(connection_.get(), context_, screen_->root, 0, nullptr);
    sync();
}

xcb_window_t WindowClient::root(int screen) const {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (int i = 0; i < screen; ++i)
        xcb_screen_next(&screens);
    return screens.data->root;
}

bool WindowClient::offers(const char* extension) const {
    const auto length = static_cast<std::uint16_t>(std::strlen(extension));
    const Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(
        connection_.get(), xcb_query_extension(connection_.get(), length, extension), nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the window client lost its server");
    return reply->present != 0;
}

xcb_window_t WindowClient::create(const Look& look) const {
    const xcb_window_t window = xcb_generate_id(connection_.get());
    const xcb_window_t parent = look.parent == 0 ? screen_->root : look.parent;
    const Area& area = look.area;
    const std::uint32_t overrideRedirect = look.isOverrideRedirect ? 1 : 0;
    if (look.isInputOnly) {
        xcb_create_window(connection_.get(), 0, window, parent, area.x, area.y, area.width,
                          area.height, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
        return window;
    }
    const bool hasBackground = look.background == Look::Background::color;
    // In the order of the mask's bits.
    const std::uint32_t values[]{
        hasBackground ? pixelFor(look.color) : std::uint32_t{XCB_BACK_PIXMAP_NONE},
        pixelFor(look.borderColor), overrideRedirect, XCB_EVENT_MASK_EXPOSURE};
    const std::uint32_t background = hasBackground ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP;
    xcb_create_window(
        connection_.get(), XCB_COPY_FROM_PARENT, window, parent, area.x, area.y, area.width,
        area.height, look.border, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        background | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    return window;
}

xcb_visualid_t WindowClient::translucentVisual() const {
    for (auto depth = xcb_screen_allowed_depths_iterator(screen_); depth.rem > 0;
         xcb_depth_next(&depth)) {
        if (depth.data->depth == kTranslucentDepth && xcb_depth_visuals_length(depth.data) > 0)
            return xcb_depth_visuals(depth.data)->visual_id;
    }
    throw std::runtime_error("the server has no visual with an alpha channel");
}

xcb_window_t WindowClient::createTranslucent(const Area& area, std::uint32_t background) const {
    const xcb_visualid_t visual = translucentVisual();
    const xcb_colormap_t colormap = xcb_generate_id(connection_.get());
    xcb_create_colormap(connection_.get(), XCB_COLORMAP_ALLOC_NONE, colormap, screen_->root,
                        visual);
    const xcb_window_t window = xcb_generate_id(connection_.get());
    const std::uint32_t values[]{background, 0, colormap};  // in the order of the mask's bits
    xcb_create_window(connection_.get(), kTranslucentDepth, window, screen_->root, area.x, area.y,
                      area.width, area.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values);
    return window;
}

xcb_window_t WindowClient::open(const Look& look) const {
    const xcb_window_t window = create(look);
    map(window);
    return window;
}

void WindowClient::map(xcb_window_t window) const {
    xcb_map_window(connection_.get(), window);
}

void WindowClient::unmap(xcb_window_t window) const {
    xcb_unmap_window(connection_.get(), window);
}

void WindowClient::destroy(xcb_window_t window) const {
    xcb_destroy_window(connection_.get(), window);
}

void WindowClient::configure(xcb_window_t window, std::uint16_t mask,
                             const std::vector<std::uint32_t>& values) const {
    xcb_configure_window(connection_.get(), window, mask, values.data());
}

void WindowClient::raise(xcb_window_t window) const {
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_ABOVE});
}

void WindowClient::lower(xcb_window_t window) const {
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_BELOW});
}

void WindowClient::placeBelow(xcb_window_t window, xcb_window_t other) const {
    configure(window, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE,
              {other, XCB_STACK_MODE_BELOW});
}

void WindowClient::move(xcb_window_t window, std::int16_t x, std::int16_t y) const {
    configure(window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
              {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)});
}

void WindowClient::resize(xcb_window_t window, std::uint16_t width, std::uint16_t height) const {
    configure(window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, {width, height});
}

void WindowClient::fillDrawable(xcb_drawable_t drawable, const Area& area, Color color) const {
    const std::uint32_t pixel = pixelFor(color);
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &pixel);
    const xcb_rectangle_t rectangle = rectangleOf(area);
    xcb_poly_fill_rectangle(connection_.get(), drawable, context_, 1, &rectangle);
}

void WindowClient::fill(xcb_window_t window, const Area& area, Color color) const {
    fillDrawable(window, area, color);
}

xcb_atom_t WindowClient::atom(const char* name) const {
    const auto cookie =
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the window client lost its server");
    return reply->atom;
}

void WindowClient::setProperty(xcb_window_t window, const char* name, xcb_atom_t type,
                               const std::vector<std::uint32_t>& values) const {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window, atom(name), type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

void WindowClient::setManaged(xcb_window_t window, Management management) const {
    const std::uint32_t state = management == Management::normal ? 1 : 3;
    const std::uint32_t noIcon = 0;
    setProperty(window, "WM_STATE", atom("WM_STATE"), {state, noIcon});
}

void WindowClient::setStates(xcb_window_t window, const std::vector<const char*>& states) const {
    std::vector<std::uint32_t> atoms;
    for (const char* state : states)
        atoms.push_back(atom(state));
    setProperty(window, "_NET_WM_STATE", XCB_ATOM_ATOM, atoms);
}

void WindowClient::setTypes(xcb_window_t window, const std::vector<const char*>& types) const {
    std::vector<std::uint32_t> atoms(types.size());
    std::ranges::transform(types, atoms.begin(), [this](const char* type) { return atom(type); });
    setProperty(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, atoms);
}

/* In pieces, as a request has a greatest length. */
void WindowClient::setBytes(xcb_window_t window, const char* name, const char* type,
                            std::string_view bytes) const {
    constexpr std::size_t kLongestPiece = 4'000'000;
    std::uint8_t mode = XCB_PROP_MODE_REPLACE;
    do {
        const std::string_view piece = bytes.substr(0, kLongestPiece);
        xcb_change_property(connection_.get(), mode, window, atom(name), atom(type), 8,
                            static_cast<std::uint32_t>(piece.size()), piece.data());
        bytes.remove_prefix(piece.size());
        mode = XCB_PROP_MODE_APPEND;
    } while (!bytes.empty());
}

std::vector<std::uint32_t> WindowClient::numbersIn(xcb_window_t window, const char* name) const {
    constexpr std::uint32_t kMostNumbers = 4096;
    const auto cookie = xcb_get_property(connection_.get(), 0, window, atom(name),
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, kMostNumbers);
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr || reply->format != 32)
        return {};
    std::vector<std::uint32_t> numbers(reply->value_len);
    std::memcpy(numbers.data(), xcb_get_property_value(reply.get()), 4 * numbers.size());
    return numbers;
}

void WindowClient::setTitle(xcb_window_t window, std::string_view utf8) const {
    setBytes(window, "_NET_WM_NAME", "UTF8_STRING", utf8);
}

void WindowClient::setClass(xcb_window_t window, std::string_view instance,
                            std::string_view className) const {
    std::string names(instance);
    names.append(1, '\0').append(className).append(1, '\0');
    setBytes(window, "WM_CLASS", "STRING", names);
}

void WindowClient::setEmbedded(xcb_window_t window) const {
    const std::uint32_t version = 0;
    const std::uint32_t isToBeMapped = 1;
    setProperty(window, "_XEMBED_INFO", atom("_XEMBED_INFO"), {version, isToBeMapped});
}

void WindowClient::setOpacity(xcb_window_t window, double opacity) const {
    setProperty(window, "_NET_WM_WINDOW_OPACITY", XCB_ATOM_CARDINAL,
                {static_cast<std::uint32_t>(opacity * 0xffffffff)});
}

void WindowClient::setShape(xcb_window_t window, const std::vector<Area>& parts) const {
    std::vector<xcb_rectangle_t> rectangles(parts.size());
    std::ranges::transform(parts, rectangles.begin(), rectangleOf);
    xcb_shape_rectangles(connection_.get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_UNSORTED, window, 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

void WindowClient::setUnfocusable(xcb_window_t window) const {
    const std::uint32_t hasInputHint = 1;
    const std::uint32_t takesInput = 0;
    setProperty(window, "WM_HINTS", XCB_ATOM_WM_HINTS,
                {hasInputHint, takesInput, 0, 0, 0, 0, 0, 0, 0});
}

void WindowClient::setDialogOf(xcb_window_t window, xcb_window_t owner) const {
    setProperty(window, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, {owner});
}

void WindowClient::setBackdrop(Color even, Color odd, std::uint16_t square) const {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_.get());
    const auto size = static_cast<std::uint16_t>(2 * square);
    const auto middle = static_cast<std::int16_t>(square);
    xcb_create_pixmap(connection_.get(), screen_->root_depth, pixmap, screen_->root, size, size);
    fillDrawable(pixmap, {0, 0, size, size}, even);
    fillDrawable(pixmap, {middle, 0, square, square}, odd);
    fillDrawable(pixmap, {0, middle, square, square}, odd);
    setRootProperty("_XROOTPMAP_ID", XCB_ATOM_PIXMAP, pixmap);
    xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_clear_area(connection_.get(), 0, screen_->root, 0, 0, 0, 0);
}

void WindowClient::setRootColor(Color color) const {
    const std::uint32_t pixel = pixelFor(color);
    xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_BACK_PIXEL, &pixel);
    xcb_clear_area(connection_.get(), 0, screen_->root, 0, 0, 0, 0);
}

void WindowClient::setRootProperty(const char* name, xcb_atom_t type, std::uint32_t value) const {
    setProperty(screen_->root, name, type, {value});
}

void WindowClient::compositeOn(Color color) const {
    const Reply<xcb_composite_query_version_reply_t> version(xcb_composite_query_version_reply(
        connection_.get(), xcb_composite_query_version(connection_.get(), 0, 4), nullptr));
    if (version == nullptr)
        throw std::runtime_error("the server does not composite");
    const xcb_window_t owner = create({.area = {-9, -9, 1, 1}, .isOverrideRedirect = true});
    xcb_set_selection_owner(connection_.get(), owner, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    xcb_composite_redirect_subwindows(connection_.get(), screen_->root,
                                      XCB_COMPOSITE_REDIRECT_MANUAL);
    const Reply<xcb_composite_get_overlay_window_reply_t> overlay(
        xcb_composite_get_overlay_window_reply(
            connection_.get(), xcb_composite_get_overlay_window(connection_.get(), screen_->root),
            nullptr));
    if (overlay == nullptr)
        throw std::runtime_error("the server has no window to composite on");
    fillDrawable(overlay->overlay_win, {0, 0, screen_->width_in_pixels, screen_->height_in_pixels},
                 color);
}

void WindowClient::sync() const {
    const Reply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the window client lost its server");
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
        if (event->response_type == 0)
            throw std::runtime_error("the server refused what the window client asked for");
        if (event->response_type == XCB_EXPOSE)
            exposed_.insert(reinterpret_cast<const xcb_expose_event_t*>(event.get())->window);
    }
}

bool WindowClient::takeExposure(xcb_window_t window) const {
    sync();
    return exposed_.erase(window) > 0;
}

ServerGrab::ServerGrab(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    xcb_grab_server(connection_);
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the server on " + display + " cannot be grabbed");
}

/* A server lets go of what a client that ends had grabbed. */
ServerGrab::~ServerGrab() {
    xcb_disconnect(connection_);
}
