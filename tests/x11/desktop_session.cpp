#include "desktop_session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::chrono::seconds kStartBound{30};
constexpr int kRoundsUntilAskedAgain = 100;

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

constexpr const char* kManagerSettings = R"(<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <theme><name>NoRed</name><titleLayout>L</titleLayout></theme>
  <desktops><number>2</number><popupTime>0</popupTime></desktops>
  <focus><focusNew>no</focusNew></focus>
</openbox_config>
)";

/* A window looks the same whether it has the focus or not, so that it makes no difference to a
 * picture which one gets it when another one goes. */
constexpr const char* kManagerTheme = R"(border.width: 1
padding.width: 2
window.handle.width: 4
window.*.border.color: #0040ff
window.*.title.bg: flat solid
window.*.title.bg.color: #0060c0
window.*.title.separator.color: #003030
window.*.label.bg: parentrelative
window.*.label.text.color: #00ffff
window.*.handle.bg: flat solid
window.*.handle.bg.color: #006060
window.*.grip.bg: parentrelative
window.*.client.color: #006060
)";

std::string makeHome() {
    std::string path = std::filesystem::temp_directory_path() / "desktop-session-XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw std::runtime_error("cannot make a home for the desktop's programs");
    return path;
}

void write(const std::filesystem::path& path, const char* text) {
    std::filesystem::create_directories(path.parent_path());
    if (!(std::ofstream(path) << text).flush())
        throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

DesktopSession::DesktopSession(const std::string& display)
    : display_(display), home_(makeHome()), connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0)
        throw std::runtime_error("the desktop session cannot connect to " + display);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
}

DesktopSession::~DesktopSession() {
    // Clients first: a window manager that ends puts their windows on the screen without frames.
    while (!programs_.empty())
        programs_.pop_back();
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
}

void DesktopSession::startWindowManager() {
    const std::filesystem::path home(home_);
    write(home / "rc.xml", kManagerSettings);
    write(home / ".themes" / "NoRed" / "openbox-3" / "themerc", kManagerTheme);
    ChildProgram& manager = start({"openbox", "--sm-disable", "--config-file", home / "rc.xml"});
    await(manager, [this] { return isManaging(); });
    hasWindowManager_ = true;
    settle();
}

void DesktopSession::startCompositor(Effects effects) {
    std::vector<std::string> command{"picom", "--config", "/dev/null", "--backend", "xrender"};
    if (effects == Effects::fadesAndShadows)
        command.insert(command.end(), {"-f", "-c"});
    ChildProgram& compositor = start(std::move(command));
    await(compositor, [this] { return ownerOf("_NET_WM_CM_S0") != XCB_NONE; });
}

xcb_window_t DesktopSession::startClient(std::vector<std::string> command) {
    std::string name = "client";
    name += std::to_string(++clients_);
    command.insert(command.begin() + 1, {"-name", name});
    ChildProgram& client = start(std::move(command));
    xcb_window_t window = XCB_NONE;
    await(client, [&] {
        window = findClient(root_, name);
        return window != XCB_NONE && isReadyClient(window);
    });
    settle();
    return window;
}

ChildProgram& DesktopSession::start(std::vector<std::string> command) {
    return programs_.emplace_back(
        std::move(command),
        std::map<std::string, std::string>{{"DISPLAY", display_},
                                           {"HOME", home_},
                                           {"XDG_CONFIG_HOME", home_ + "/config"},
                                           {"XDG_DATA_HOME", home_ + "/data"},
                                           {"XDG_CACHE_HOME", home_ + "/cache"},
                                           {"XDG_RUNTIME_DIR", home_},
                                           {"LC_ALL", "C"},
                                           {"DBUS_SESSION_BUS_ADDRESS", "disabled:"}});
}

template <typename Condition>
void DesktopSession::await(ChildProgram& program, Condition isReady) const {
    const auto deadline = std::chrono::steady_clock::now() + kStartBound;
    while (!isReady()) {
        if (program.hasEnded())
            throw std::runtime_error("a program of the desktop ended: " + program.output());
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("a program of the desktop is not ready: " + program.output());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

xcb_atom_t DesktopSession::atom(const char* name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection_.get(),
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the desktop session lost its server");
    return reply->atom;
}

std::vector<std::uint32_t> DesktopSession::property(xcb_window_t window, const char* name) const {
    constexpr std::uint32_t kMostValues = 4096;
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_.get(),
                               xcb_get_property(connection_.get(), 0, window, atom(name),
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, kMostValues),
                               nullptr));
    if (reply == nullptr || reply->format != 32)
        return {};
    std::vector<std::uint32_t> values(reply->value_len);
    std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * 4);
    return values;
}

xcb_window_t DesktopSession::ownerOf(const char* selection) const {
    const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection_.get(), xcb_get_selection_owner(connection_.get(), atom(selection)), nullptr));
    return reply == nullptr ? xcb_window_t{XCB_NONE} : reply->owner;
}

/* The window that the manager names names itself, or it is one of a manager before. */
bool DesktopSession::isManaging() const {
    const auto check = property(root_, "_NET_SUPPORTING_WM_CHECK");
    return ownerOf("WM_S0") != XCB_NONE && check.size() == 1 &&
           property(check.front(), "_NET_SUPPORTING_WM_CHECK") == check;
}

/* The window of that name and class in the tree below another; XCB_NONE if there is none yet. */
xcb_window_t DesktopSession::findClient(xcb_window_t window, const std::string& name) const {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection_.get(),
        xcb_get_property(connection_.get(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64),
        nullptr));
    if (reply != nullptr && reply->value_len > name.size() &&
        std::memcmp(xcb_get_property_value(reply.get()), name.c_str(), name.size() + 1) == 0)
        return window;
    const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
        connection_.get(), xcb_query_tree(connection_.get(), window), nullptr));
    const int count = tree == nullptr ? 0 : xcb_query_tree_children_length(tree.get());
    for (int i = 0; i < count; ++i) {
        const auto found = findClient(xcb_query_tree_children(tree.get())[i], name);
        if (found != XCB_NONE)
            return found;
    }
    return XCB_NONE;
}

bool DesktopSession::isReadyClient(xcb_window_t window) const {
    const Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        connection_.get(), xcb_get_window_attributes(connection_.get(), window), nullptr));
    if (reply == nullptr || reply->map_state != XCB_MAP_STATE_VIEWABLE)
        return false;
    return !hasWindowManager_ || std::ranges::count(managedWindows(), window) > 0;
}

std::vector<xcb_window_t> DesktopSession::managedWindows() const {
    return property(root_, "_NET_CLIENT_LIST");
}

std::vector<xcb_window_t> DesktopSession::stackedWindows() const {
    return property(root_, "_NET_CLIENT_LIST_STACKING");
}

xcb_window_t DesktopSession::managersMark() const {
    const auto mark = property(root_, "_NET_SUPPORTING_WM_CHECK");
    return mark.empty() ? xcb_window_t{XCB_NONE} : mark.front();
}

Area DesktopSession::outerArea(xcb_window_t window) const {
    xcb_window_t outer = window;
    for (xcb_window_t parent = window; parent != root_;) {
        outer = parent;
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            connection_.get(), xcb_query_tree(connection_.get(), outer), nullptr));
        if (tree == nullptr)
            throw std::runtime_error("there is no such window");
        parent = tree->parent;
    }
    const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), outer), nullptr));
    if (geometry == nullptr)
        throw std::runtime_error("there is no such window");
    const auto borders = static_cast<std::uint16_t>(2 * geometry->border_width);
    return {geometry->x, geometry->y, static_cast<std::uint16_t>(geometry->width + borders),
            static_cast<std::uint16_t>(geometry->height + borders)};
}

void DesktopSession::end(xcb_window_t window) const {
    xcb_kill_client(connection_.get(), window);
    settle();
}

void DesktopSession::tell(xcb_window_t window, const char* message,
                          const std::vector<std::uint32_t>& values) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    std::ranges::copy(values, event.data.data32);
    xcb_send_event(connection_.get(), 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection_.get());
}

void DesktopSession::iconify(xcb_window_t window) const {
    const std::uint32_t iconicState = 3;
    tell(window, "WM_CHANGE_STATE", {iconicState});
    settle();
}

void DesktopSession::restore(xcb_window_t window) const {
    const std::uint32_t fromAPager = 2;
    tell(window, "_NET_ACTIVE_WINDOW", {fromAPager});
    settle();
}

void DesktopSession::close(xcb_window_t window) const {
    tell(window, "_NET_CLOSE_WINDOW", {});
    settle();
}

void DesktopSession::setFullscreen(xcb_window_t window, bool isFullscreen) const {
    tell(window, "_NET_WM_STATE", {isFullscreen ? 1U : 0U, atom("_NET_WM_STATE_FULLSCREEN")});
    settle();
}

void DesktopSession::showDesktop(std::uint32_t desktop) const {
    tell(root_, "_NET_CURRENT_DESKTOP", {desktop});
    settle();
}

void DesktopSession::resizeManaged(xcb_window_t window, std::uint16_t width,
                                   std::uint16_t height) const {
    const std::uint32_t values[]{width, height};
    xcb_configure_window(connection_.get(), window,
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    settle();
}

void DesktopSession::moveManaged(xcb_window_t window, std::int16_t x, std::int16_t y) const {
    const std::uint32_t values[]{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values);
    settle();
}

/* Window managers answer in turn: when this question is answered, what came before is done. Each
 * time about another window, as the answer may come twice: one that has just started misses
 * questions. */
void DesktopSession::settle() const {
    if (!hasWindowManager_)
        return static_cast<void>(ownerOf("WM_S0"));  // a round trip to the server
    const auto deadline = std::chrono::steady_clock::now() + kStartBound;
    const xcb_window_t probe = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, probe, root_, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    for (int round = 0; property(probe, "_NET_FRAME_EXTENTS").empty(); ++round) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("the window manager does not answer");
        if (round % kRoundsUntilAskedAgain == 0)
            tell(probe, "_NET_REQUEST_FRAME_EXTENTS", {});
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    xcb_destroy_window(connection_.get(), probe);
    xcb_flush(connection_.get());
}
