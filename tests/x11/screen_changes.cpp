#include "screen_changes.h"

#include <xcb/shape.h>

#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace {

constexpr int kWindows = 7;
constexpr int kLasting = 2;
constexpr int kMostWidth = 200;
constexpr int kMostHeight = 150;

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
std::unique_ptr<T, FreeReply> owned(T* reply) {
    if (reply == nullptr)
        throw std::runtime_error("the changes of the screen lost their server");
    return std::unique_ptr<T, FreeReply>(reply);
}

std::uint32_t asValue(int number) {
    return static_cast<std::uint32_t>(number);
}

}  // namespace

ScreenChanges::Connection ScreenChanges::connectTo(const std::string& display) {
    Connection connection(xcb_connect(display.c_str(), nullptr));
    if (xcb_connection_has_error(connection.get()) != 0)
        throw std::runtime_error("the changes of the screen cannot connect to " + display);
    return connection;
}

ScreenChanges::ScreenChanges(const std::string& display, unsigned seed, Scope scope)
    : scope_(scope),
      display_(display),
      connection_(connectTo(display)),
      screen_(xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data),
      random_(seed),
      drawing_(connection_.get(), random_),
      backdropName_(atom("_XROOTPMAP_ID")),
      stateName_(atom("WM_STATE")),
      windows_(kWindows) {
    changeBackdrop();
    for (Window& window : windows_)
        makeWindow(window);
    roundTrip();
}

xcb_atom_t ScreenChanges::atom(std::string_view name) const {
    const auto cookie =
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    return owned(xcb_intern_atom_reply(connection_.get(), cookie, nullptr))->atom;
}

ScreenChanges::Window& ScreenChanges::anyWindow() {
    if (scope_.favoursFirst && drawing_.oneIn(2))
        return windows_.front();
    return windows_[static_cast<std::size_t>(drawing_.below(kWindows))];
}

xcb_window_t ScreenChanges::anyTarget() {
    if (scope_.drawsOnRoot && drawing_.oneIn(4))
        return screen_->root;
    const Window& window = anyWindow();
    return window.child != XCB_NONE && drawing_.oneIn(2) ? window.child : window.id;
}

/* On top of the others, and mapped; half of them with a window within. */
void ScreenChanges::makeWindow(Window& window) {
    constexpr std::uint32_t kGravities[]{XCB_GRAVITY_BIT_FORGET, XCB_GRAVITY_NORTH_WEST,
                                         XCB_GRAVITY_SOUTH_EAST, XCB_GRAVITY_STATIC};
    const Area area = drawing_.anyArea(kMostWidth, kMostHeight);
    const auto border = static_cast<std::uint16_t>(drawing_.oneIn(3) ? 1 + drawing_.below(4) : 0);
    // In the order of the mask's bits.
    const std::uint32_t values[]{drawing_.anyPixel(), drawing_.anyPixel(),
                                 kGravities[drawing_.below(4)], asValue(drawing_.below(2))};
    window = {xcb_generate_id(connection_.get())};
    xcb_create_window(
        connection_.get(), XCB_COPY_FROM_PARENT, window.id, screen_->root, area.x, area.y,
        area.width, area.height, border, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_OVERRIDE_REDIRECT,
        values);
    if (drawing_.oneIn(2)) {
        window.child = xcb_generate_id(connection_.get());
        const std::uint32_t childValues[]{drawing_.anyPixel(), drawing_.anyPixel()};
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window.child, window.id, 7, 5,
                          60, 40, 1, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL, childValues);
        xcb_map_window(connection_.get(), window.child);
    }
    xcb_map_window(connection_.get(), window.id);
    window.isMapped = true;
}

void ScreenChanges::change() {
    lastChange_.clear();
    for (int acts = 1 + drawing_.below(3); acts > 0; --acts)
        lastChange_.append(lastChange_.empty() ? "" : ", ").append(act());
    // The first reply says that all is done. Before the server reads a further request it sends
    // what it has for its clients; for one whose own request it has not come to yet, once it has.
    for (int i = 0; i < 3; ++i)
        roundTrip();
}

std::string ScreenChanges::act() {
    const int kind = drawing_.below(100);
    if (kind < 50)
        return draw();
    if (kind < 85)
        return changeWindow();
    if (kind < 90)
        return changeBackdrop();
    if (kind < 93 && scope_.resizesScreen)
        return resizeScreen();
    if (kind < 96 && scope_.drawsOnRoot)
        return drawing_.drawOverAll();
    return drawing_.hasPalette() ? drawing_.changePalette() : draw();
}

std::string ScreenChanges::draw() {
    const xcb_window_t target = anyTarget();
    return drawing_.draw(target, anyTarget());
}

std::string ScreenChanges::changeWindow() {
    Window& window = anyWindow();
    const bool isToStay = &window < &windows_[kLasting];
    const bool isChild = window.child != XCB_NONE && drawing_.oneIn(4);
    const xcb_window_t moved = isChild ? window.child : window.id;
    if (!window.isMapped && drawing_.oneIn(2))
        return toggleMapped(window);
    switch (drawing_.below(10)) {
        case 0:
            return toggleMapped(window);
        case 1:
            return isToStay ? resize(moved) : replace(window);
        case 2:
            return changeBackground(moved);
        case 3:
            return changeShape(moved);
        case 4:
            return resize(moved);
        case 5:
            return restack(moved);
        case 6:
            return window.child == XCB_NONE || isToStay ? move(moved) : reparent(window);
        case 7:
            return window.child == XCB_NONE || isToStay ? move(moved) : mark(window);
        default:
            return move(moved);
    }
}

std::string ScreenChanges::move(xcb_window_t window) {
    const Area area = drawing_.anyArea(kMostWidth, kMostHeight);
    const std::uint32_t place[]{asValue(area.x), asValue(area.y)};
    xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         place);
    return "move";
}

std::string ScreenChanges::resize(xcb_window_t window) {
    const Area area = drawing_.anyArea(kMostWidth, kMostHeight);
    const std::uint32_t size[]{area.width, area.height};
    xcb_configure_window(connection_.get(), window,
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    return "resize";
}

std::string ScreenChanges::restack(xcb_window_t window) {
    const bool isRaised = drawing_.oneIn(2);
    const std::uint32_t mode = isRaised ? XCB_STACK_MODE_ABOVE : XCB_STACK_MODE_BELOW;
    xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    return isRaised ? "raise" : "lower";
}

std::string ScreenChanges::changeBackground(xcb_window_t window) {
    const xcb_pixmap_t pattern = drawing_.makePattern();
    const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
    const std::uint32_t values[]{drawing_.oneIn(3) ? none : pattern, drawing_.anyPixel()};
    xcb_change_window_attributes(connection_.get(), window,
                                 XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL, values);
    xcb_clear_area(connection_.get(), 0, window, 0, 0, 0, 0);
    xcb_free_pixmap(connection_.get(), pattern);
    return "background";
}

std::string ScreenChanges::changeShape(xcb_window_t window) {
    if (drawing_.oneIn(2)) {
        xcb_shape_mask(connection_.get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0,
                       XCB_NONE);
        return "no shape";
    }
    const auto size = static_cast<std::uint16_t>(10 + drawing_.below(80));
    const auto start = static_cast<std::int16_t>(drawing_.below(40));
    const xcb_rectangle_t parts[]{{0, 0, size, 30}, {20, start, 50, size}};
    xcb_shape_rectangles(connection_.get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, std::size(parts), parts);
    return "shape";
}

std::string ScreenChanges::replace(Window& window) {
    if (window.child != XCB_NONE)
        xcb_destroy_window(connection_.get(), window.child);  // it may be elsewhere
    xcb_destroy_window(connection_.get(), window.id);
    makeWindow(window);
    return "replace";
}

/* The window within another, out of it and into it again. */
std::string ScreenChanges::reparent(const Window& window) {
    const bool isTakenOut = drawing_.oneIn(2);
    const Area area = drawing_.anyArea(kMostWidth, kMostHeight);
    xcb_reparent_window(connection_.get(), window.child, isTakenOut ? screen_->root : window.id,
                        area.x, area.y);
    return isTakenOut ? "take out" : "put in";
}

/* As an application's, of which the other one is the frame, or as none any more. */
std::string ScreenChanges::mark(const Window& window) {
    if (drawing_.oneIn(2)) {
        xcb_delete_property(connection_.get(), window.child, stateName_);
        return "no mark";
    }
    const std::uint32_t isShownWithoutIcon[]{1, 0};
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window.child, stateName_,
                        stateName_, 32, 2, isShownWithoutIcon);
    return "mark";
}

std::string ScreenChanges::toggleMapped(Window& window) {
    window.isMapped = !window.isMapped;
    if (window.isMapped)
        xcb_map_window(connection_.get(), window.id);
    else
        xcb_unmap_window(connection_.get(), window.id);
    return window.isMapped ? "map" : "unmap";
}

/* As desktops set it: the root window has it, and whoever wants to know is told. */
std::string ScreenChanges::changeBackdrop() {
    const xcb_pixmap_t former = backdrop_;
    backdrop_ = drawing_.makePattern();
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, screen_->root, backdropName_,
                        XCB_ATOM_PIXMAP, 32, 1, &backdrop_);
    xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_BACK_PIXMAP, &backdrop_);
    xcb_clear_area(connection_.get(), 0, screen_->root, 0, 0, 0, 0);
    if (former != XCB_NONE)
        xcb_free_pixmap(connection_.get(), former);
    return "backdrop";
}

/* Never larger than it was at first, which not every server can do. */
std::string ScreenChanges::resizeScreen() {
    const auto width =
        static_cast<std::uint16_t>(screen_->width_in_pixels - 64 * drawing_.below(3));
    const auto height =
        static_cast<std::uint16_t>(screen_->height_in_pixels - 32 * drawing_.below(3));
    roundTrip();  // the other connection's requests come after what was asked so far
    if (!randr_)
        randr_.emplace(display_);
    randr_->setMode(modeOfSize(width, height));
    return "resize the screen";
}

void ScreenChanges::roundTrip() const {
    owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()),
                                    nullptr));
    while (const std::unique_ptr<xcb_generic_event_t, FreeReply> event{
        xcb_poll_for_event(connection_.get())}) {
        if (event->response_type == 0)
            throw std::runtime_error("the server refused a change of the screen: " + lastChange_);
    }
}
