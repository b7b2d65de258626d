#include "x11/window_descriptions.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <iterator>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "x11/atoms.h"
#include "x11/property.h"
#include "x11/property_text.h"
#include "x11/top_levels.h"

namespace qor::x11 {

using coregraphics::WindowDescription;
using coregraphics::WindowRole;

namespace {

// In units of four bytes. A title that fills a screen's width is far shorter.
constexpr std::uint32_t kLongestText = 1024;
constexpr std::uint32_t kLongestList = 32;
// So that what is sent fits into the socket even if the server reads none of it.
constexpr std::size_t kMostWindowsAtOnce = 256;

/* Where in the list of atoms a name's is. */
enum Name : std::size_t {
    kUtf8String,
    kCompoundText,
    kTitle,
    kProcessId,
    kOpacity,
    kState,
    kStateAbove,
    kType,
    kFirstType,  // the first of kTypes
};

constexpr std::string_view kNames[kFirstType]{
    "UTF8_STRING",         "COMPOUND_TEXT",          "_NET_WM_NAME",
    "_NET_WM_PID",         "_NET_WM_WINDOW_OPACITY", "_NET_WM_STATE",
    "_NET_WM_STATE_ABOVE", "_NET_WM_WINDOW_TYPE"};

struct TypeRole {
    std::string_view type;
    WindowRole role;
};

constexpr TypeRole kTypes[]{
    {"_NET_WM_WINDOW_TYPE_NORMAL", WindowRole::normal},
    {"_NET_WM_WINDOW_TYPE_DIALOG", WindowRole::normal},
    {"_NET_WM_WINDOW_TYPE_SPLASH", WindowRole::normal},
    {"_NET_WM_WINDOW_TYPE_MENU", WindowRole::floating},  // torn off, to stay open
    {"_NET_WM_WINDOW_TYPE_TOOLBAR", WindowRole::floating},
    {"_NET_WM_WINDOW_TYPE_UTILITY", WindowRole::floating},
    {"_NET_WM_WINDOW_TYPE_DOCK", WindowRole::panel},
    {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_POPUP_MENU", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_COMBO", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_TOOLTIP", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_NOTIFICATION", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_DND", WindowRole::popup},
    {"_NET_WM_WINDOW_TYPE_DESKTOP", WindowRole::desktop},
};

std::vector<std::string_view> allNames() {
    std::vector<std::string_view> names(std::begin(kNames), std::end(kNames));
    std::ranges::transform(kTypes, std::back_inserter(names), &TypeRole::type);
    return names;
}

/* Empty if it is no list of bytes. */
std::string_view bytesIn(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(reply))};
}

/* One window's properties, on their way. */
class Questions {
  public:
    Questions(Connection& connection, const TopLevel& top, const std::vector<xcb_atom_t>& atoms)
        : atoms_(atoms),
          top_(top),
          attributes_(connection, xcb_get_window_attributes(connection.handle(), top.number)),
          application_(connection, text(connection, XCB_ATOM_WM_CLASS)),
          title_(connection, text(connection, atoms[kTitle])),
          olderTitle_(connection, text(connection, XCB_ATOM_WM_NAME)),
          processId_(connection, number(connection, top.number, atoms[kProcessId])),
          ownOpacity_(connection, number(connection, top.window, atoms[kOpacity])),
          clientOpacity_(connection, number(connection, top.number, atoms[kOpacity])),
          types_(connection, list(connection, atoms[kType])),
          states_(connection, list(connection, atoms[kState])) {}

    /* Null if the window has gone. Once only. */
    std::optional<WindowDescription> take() {
        const auto attributes = attributes_.take();
        if (attributes == nullptr)
            return std::nullopt;
        return WindowDescription{.number = top_.number,
                                 .box = top_.box,
                                 .role = takeRole(attributes->override_redirect != 0),
                                 .opacity = takeOpacity(),
                                 .processId = takeProcessId(),
                                 .application = takeApplication(),
                                 .title = takeTitle()};
    }

  private:
    using Property = Request<xcb_get_property_reply_t>;

    xcb_get_property_cookie_t text(const Connection& connection, xcb_atom_t name) const {
        return xcb_get_property(connection.handle(), 0, top_.number, name,
                                XCB_GET_PROPERTY_TYPE_ANY, 0, kLongestText);
    }

    xcb_get_property_cookie_t list(const Connection& connection, xcb_atom_t name) const {
        return xcb_get_property(connection.handle(), 0, top_.number, name, XCB_ATOM_ATOM, 0,
                                kLongestList);
    }

    static xcb_get_property_cookie_t number(const Connection& connection, xcb_window_t window,
                                            xcb_atom_t name) {
        return xcb_get_property(connection.handle(), 0, window, name, XCB_ATOM_CARDINAL, 0, 1);
    }

    /* Of any type of text, whatever the property's name promises. */
    std::string shown(const xcb_get_property_reply_t* reply, std::string_view bytes) const {
        if (bytes.empty())
            return {};
        const bool isCut = reply->bytes_after > 0;
        if (reply->type == XCB_ATOM_STRING)
            return readableText(bytes, TextEncoding::latin1, isCut);
        if (reply->type == atoms_[kUtf8String])
            return readableText(bytes, TextEncoding::utf8, isCut);
        if (reply->type == atoms_[kCompoundText])
            return readableText(bytes, TextEncoding::compound, isCut);
        return {};
    }

    std::string takeApplication() {
        const auto reply = application_.take();
        return shown(reply.get(), applicationIn(bytesIn(reply.get())));
    }

    std::string takeTitle() {
        const auto reply = title_.take();
        const auto olderReply = olderTitle_.take();
        const std::string title = shown(reply.get(), bytesIn(reply.get()));
        return title.empty() ? shown(olderReply.get(), bytesIn(olderReply.get())) : title;
    }

    std::int32_t takeProcessId() {
        constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
        const std::uint32_t processId = singleValueIn(processId_.take().get()).value_or(0);
        return processId <= kMost ? static_cast<std::int32_t>(processId) : 0;
    }

    /* As pictures of windows have it: the frame's own goes before that of the window in it. */
    double takeOpacity() {
        constexpr std::uint32_t kOpaque = std::numeric_limits<std::uint32_t>::max();
        const auto own = singleValueIn(ownOpacity_.take().get());
        const auto client = singleValueIn(clientOpacity_.take().get());
        return static_cast<double>(own.value_or(client.value_or(kOpaque))) / kOpaque;
    }

    WindowRole takeRole(bool isUnmanaged) {
        const auto types = types_.take();
        const auto states = states_.take();
        const WindowRole role = roleOf(atomsIn(types.get()));
        // Panels and desktops may be so too, to have their place to themselves.
        if (isUnmanaged && (role == WindowRole::normal || role == WindowRole::floating))
            return WindowRole::popup;
        const auto stateList = atomsIn(states.get());
        const bool isAbove = std::ranges::count(stateList, atoms_[kStateAbove]) > 0;
        return role == WindowRole::normal && isAbove ? WindowRole::floating : role;
    }

    /* The first type that is known: an application puts what only some know before what all do. */
    WindowRole roleOf(std::span<const xcb_atom_t> types) const {
        for (const xcb_atom_t type : types) {
            for (std::size_t i = 0; i < std::size(kTypes); ++i) {
                if (type == atoms_[kFirstType + i])
                    return kTypes[i].role;
            }
        }
        return WindowRole::normal;
    }

    const std::vector<xcb_atom_t>& atoms_;
    const TopLevel& top_;
    Request<xcb_get_window_attributes_reply_t> attributes_;
    Property application_;
    Property title_;
    Property olderTitle_;
    Property processId_;
    Property ownOpacity_;
    Property clientOpacity_;
    Property types_;
    Property states_;
};

}  // namespace

std::optional<std::vector<WindowDescription>> WindowDescriptions::describe(
    std::span<const TopLevel> windows) {
    if (!atoms_ && !(atoms_ = findAtoms(connection_, allNames())))
        return std::nullopt;
    std::vector<TopLevel> listed;
    std::copy_if(windows.rbegin(), windows.rend(), std::back_inserter(listed),
                 [](const TopLevel& top) { return top.isListed(); });
    std::vector<WindowDescription> descriptions;
    for (std::size_t first = 0; first < listed.size(); first += kMostWindowsAtOnce) {
        const std::size_t end = std::min(first + kMostWindowsAtOnce, listed.size());
        std::deque<Questions> questions;
        for (std::size_t i = first; i < end; ++i)
            questions.emplace_back(connection_, listed[i], *atoms_);
        for (Questions& question : questions) {
            if (auto description = question.take())
                descriptions.push_back(std::move(*description));
        }
    }
    return connection_.answers() ? std::optional(std::move(descriptions)) : std::nullopt;
}

}  // namespace qor::x11
