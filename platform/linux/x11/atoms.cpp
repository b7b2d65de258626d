#include "x11/atoms.h"

#include <cstdint>
#include <deque>

namespace qor::x11 {

std::optional<std::vector<xcb_atom_t>> findAtoms(Connection& connection,
                                                 std::span<const std::string_view> names) {
    std::deque<Request<xcb_intern_atom_reply_t>> requests;
    for (const std::string_view name : names)
        requests.emplace_back(
            connection, xcb_intern_atom(connection.handle(), 0,
                                        static_cast<std::uint16_t>(name.size()), name.data()));
    std::vector<xcb_atom_t> atoms;
    for (auto& request : requests) {
        const auto reply = request.take();
        atoms.push_back(reply == nullptr ? xcb_atom_t{XCB_NONE} : reply->atom);
    }
    return connection.answers() ? std::optional(std::move(atoms)) : std::nullopt;
}

}  // namespace qor::x11
