/*
 * What the answers say about a window: its role, its text, its numbers.
 *
 * Any program may say anything of its windows, or of another's. So no answer is taken to be of the
 * type, the format or the length that it should have. Nothing is asked of a server in here.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "coregraphics/display_server.h"

namespace qor::x11 {

/* Where in the list of atoms a property's, a type's or a state's is. */
enum PropertyName : std::size_t {
    kUtf8String,
    kCompoundText,
    kTitle,
    kProcessId,
    kOpacity,
    kState,
    kStateAbove,
    kType,
    kFirstType,  // of window; those that are known follow each other
};

class WindowProperties {
  public:
    using Answer = const xcb_get_property_reply_t*;  // null if there is none

    /* Whose atoms the constructor takes. */
    static std::vector<std::string_view> names();

    /* Keeps the atoms by reference. */
    explicit WindowProperties(const std::vector<xcb_atom_t>& atoms) : atoms_(atoms) {}

    /* Text is valid UTF-8 on one line, empty if there is none. */
    std::string application(Answer windowClass) const;
    std::string title(Answer title, Answer olderTitle) const;

    /* 0 if it is not told. */
    std::int32_t processId(Answer answer) const;

    /* 0 to 1, as pictures of windows have it: the frame's own goes before that of the window in it.
     */
    double opacity(Answer own, Answer client) const;

    /* An unmanaged window is one that goes past the window manager. */
    coregraphics::WindowRole role(Answer types, Answer states, bool isUnmanaged) const;

  private:
    std::string shown(Answer answer, std::string_view bytes) const;
    coregraphics::WindowRole roleOf(std::span<const xcb_atom_t> types) const;

    const std::vector<xcb_atom_t>& atoms_;
};

}  // namespace qor::x11
