#include "x11/window_properties.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "x11/property.h"
#include "x11/property_text.h"

namespace qor::x11 {

using coregraphics::WindowRole;

namespace {

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

}  // namespace

std::vector<std::string_view> WindowProperties::names() {
    std::vector<std::string_view> names(std::begin(kNames), std::end(kNames));
    std::ranges::transform(kTypes, std::back_inserter(names), &TypeRole::type);
    return names;
}

std::string WindowProperties::application(Answer windowClass) const {
    return shown(windowClass, applicationIn(bytesIn(windowClass)));
}

std::string WindowProperties::title(Answer title, Answer olderTitle) const {
    const std::string text = shown(title, bytesIn(title));
    return text.empty() ? shown(olderTitle, bytesIn(olderTitle)) : text;
}

/* Of any type of text, whatever the property's name promises. */
std::string WindowProperties::shown(Answer answer, std::string_view bytes) const {
    if (bytes.empty())
        return {};
    const bool isCut = answer->bytes_after > 0;
    if (answer->type == XCB_ATOM_STRING)
        return readableText(bytes, TextEncoding::latin1, isCut);
    if (answer->type == atoms_[kUtf8String])
        return readableText(bytes, TextEncoding::utf8, isCut);
    if (answer->type == atoms_[kCompoundText])
        return readableText(bytes, TextEncoding::compound, isCut);
    return {};
}

std::int32_t WindowProperties::processId(Answer answer) const {
    constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::uint32_t processId = singleValueIn(answer).value_or(0);
    return processId <= kMost ? static_cast<std::int32_t>(processId) : 0;
}

double WindowProperties::opacity(Answer own, Answer client) const {
    constexpr std::uint32_t kOpaque = std::numeric_limits<std::uint32_t>::max();
    const auto value = singleValueIn(own).value_or(singleValueIn(client).value_or(kOpaque));
    return static_cast<double>(value) / kOpaque;
}

WindowRole WindowProperties::role(Answer types, Answer states, bool isUnmanaged) const {
    const WindowRole role = roleOf(atomsIn(types));
    // Panels and desktops may be so too, to have their place to themselves.
    if (isUnmanaged && (role == WindowRole::normal || role == WindowRole::floating))
        return WindowRole::popup;
    const bool isAbove = std::ranges::count(atomsIn(states), atoms_[kStateAbove]) > 0;
    return role == WindowRole::normal && isAbove ? WindowRole::floating : role;
}

/* The first type that is known: an application puts what only some know before what all do. */
WindowRole WindowProperties::roleOf(std::span<const xcb_atom_t> types) const {
    for (const xcb_atom_t type : types) {
        for (std::size_t i = 0; i < std::size(kTypes); ++i) {
            if (type == atoms_[kFirstType + i])
                return kTypes[i].role;
        }
    }
    return WindowRole::normal;
}

}  // namespace qor::x11
