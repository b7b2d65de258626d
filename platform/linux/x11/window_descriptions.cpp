#include "x11/window_descriptions.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <iterator>
#include <span>
#include <string>
#include <utility>

#include "x11/atoms.h"
#include "x11/top_levels.h"
#include "x11/window_properties.h"

namespace qor::x11 {

using coregraphics::WindowDescription;
using coregraphics::WindowRole;

namespace {

// In units of four bytes. A title that fills a screen's width is far shorter.
constexpr std::uint32_t kLongestText = 1024;
constexpr std::uint32_t kLongestList = 32;
// So that what is sent fits into the socket even if the server reads none of it.
constexpr std::size_t kMostWindowsAtOnce = 256;

/* One window's properties, on their way. */
class Questions {
  public:
    Questions(Connection& connection, const TopLevel& top, const std::vector<xcb_atom_t>& atoms)
        : properties_(atoms),
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
                                 .processId = properties_.processId(processId_.take().get()),
                                 .application = properties_.application(application_.take().get()),
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

    std::string takeTitle() {
        const auto title = title_.take();
        const auto olderTitle = olderTitle_.take();
        return properties_.title(title.get(), olderTitle.get());
    }

    double takeOpacity() {
        const auto own = ownOpacity_.take();
        const auto client = clientOpacity_.take();
        return properties_.opacity(own.get(), client.get());
    }

    WindowRole takeRole(bool isUnmanaged) {
        const auto types = types_.take();
        const auto states = states_.take();
        return properties_.role(types.get(), states.get(), isUnmanaged);
    }

    const WindowProperties properties_;
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
    if (!atoms_ && !(atoms_ = findAtoms(connection_, WindowProperties::names())))
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
