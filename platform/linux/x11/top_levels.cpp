#include "x11/top_levels.h"

#include <deque>
#include <set>
#include <span>

#include "x11/property.h"

namespace qor::x11 {
namespace {

// Window managers put an application's window one to three levels deep. The bounds are for menus
// and other windows without such a window in them, which would be searched to the last button.
constexpr int kDeepestSearch = 4;
constexpr std::size_t kMostSearchedAtOnce = 4096;
constexpr std::size_t kMostChildrenSearched = 64;

std::span<const xcb_window_t> childrenIn(const xcb_query_tree_reply_t& tree) {
    return {xcb_query_tree_children(&tree),
            static_cast<std::size_t>(xcb_query_tree_children_length(&tree))};
}

struct Description {
    Description(Connection& connection, xcb_window_t describedWindow)
        : window(describedWindow),
          attributes(connection, xcb_get_window_attributes(connection.handle(), window)),
          geometry(connection, xcb_get_geometry(connection.handle(), window)) {}

    const xcb_window_t window;
    Request<xcb_get_window_attributes_reply_t> attributes;
    Request<xcb_get_geometry_reply_t> geometry;
};

/* Which client made a window: in its identifier, above the bits that the client counts with. 0 is
 * the server itself. */
std::uint32_t makerOf(const Connection& connection, xcb_window_t window) {
    constexpr std::uint32_t kMakerAndCount = 0x1fffffff;
    const std::uint32_t count = xcb_get_setup(connection.handle())->resource_id_mask;
    return window & kMakerAndCount & ~count;
}

xcb_get_property_cookie_t askManager(const Connection& connection, xcb_atom_t check) {
    return xcb_get_property(connection.handle(), 0, connection.screen().root, check,
                            XCB_ATOM_WINDOW, 0, 1);
}

/* The client that is the window manager; 0 if there is none that tells. */
std::uint32_t managerIn(const Connection& connection, const xcb_get_property_reply_t* reply) {
    return makerOf(connection, singleValueIn(reply).value_or(XCB_NONE));
}

/* Null if the window has gone. */
std::optional<TopLevel> take(const Connection& connection, Description& description) {
    const auto attributes = description.attributes.take();
    const auto geometry = description.geometry.take();
    if (attributes == nullptr || geometry == nullptr)
        return std::nullopt;
    const unsigned borders = 2U * geometry->border_width;
    return TopLevel{
        .window = description.window,
        .box = {geometry->x, geometry->y, geometry->width + borders, geometry->height + borders},
        .border = geometry->border_width,
        .visual = attributes->visual,
        .isMapped = attributes->map_state == XCB_MAP_STATE_VIEWABLE,
        .isOfAnApplication = attributes->_class != XCB_WINDOW_CLASS_INPUT_ONLY &&
                             makerOf(connection, description.window) != 0};
}

/* A window that may be the application's, or have it in it. */
struct Candidate {
    Candidate(Connection& connection, xcb_window_t candidate, TopLevel& top, xcb_atom_t wmState)
        : window(candidate),
          topLevel(top),
          state(connection, xcb_get_property(connection.handle(), 0, window, wmState,
                                             XCB_GET_PROPERTY_TYPE_ANY, 0, 0)),
          tree(connection, xcb_query_tree(connection.handle(), window)) {}

    const xcb_window_t window;
    TopLevel& topLevel;
    Request<xcb_get_property_reply_t> state;
    Request<xcb_query_tree_reply_t> tree;
};

/* Another client's window in one of the window manager's. */
struct Stranger {
    TopLevel* topLevel;
    xcb_window_t window;
};

/* Searches all windows at once, level by level, so that it takes a round trip a level. */
class ClientSearch {
  public:
    ClientSearch(Connection& connection, xcb_atom_t wmState, std::uint32_t manager)
        : connection_(connection), wmState_(wmState), manager_(manager) {}

    void start(TopLevel& top) { level_.emplace_back(connection_, top.window, top, wmState_); }

    void run() {
        for (int depth = 0; depth <= kDeepestSearch && !level_.empty(); ++depth) {
            std::deque<Candidate> current;
            current.swap(level_);
            for (Candidate& candidate : current)
                examine(candidate);
        }
    }

    /* The window manager's windows in which there is an application's that is not marked. Only
     * after run(). */
    std::set<xcb_window_t> unmarkedFrames(xcb_atom_t embeddingInfo) {
        std::deque<Request<xcb_get_property_reply_t>> requests;
        std::erase_if(strangers_, [](const Stranger& s) { return s.topLevel->number != 0; });
        for (const Stranger& stranger : strangers_)
            requests.emplace_back(connection_,
                                  xcb_get_property(connection_.handle(), 0, stranger.window,
                                                   embeddingInfo, XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
        std::set<xcb_window_t> frames;
        for (std::size_t i = 0; i < requests.size(); ++i) {
            const auto reply = requests[i].take();
            // Icons that applications put into the window manager's bar tell so.
            if (reply == nullptr || reply->type == XCB_NONE)
                frames.insert(strangers_[i].topLevel->window);
        }
        return frames;
    }

  private:
    void examine(Candidate& candidate) {
        const auto state = candidate.state.take();
        const auto tree = candidate.tree.take();
        if (candidate.topLevel.number != 0 || state == nullptr || tree == nullptr)
            return;
        if (state->type != XCB_NONE) {
            candidate.topLevel.number = candidate.window;
            return;
        }
        const auto children = childrenIn(*tree);
        // From the top: of several applications' windows in one frame, the one on top is seen.
        std::size_t searched = 0;
        for (std::size_t i = children.size(); i > 0 && searched < kMostChildrenSearched; --i) {
            add(children[i - 1], candidate.topLevel);
            ++searched;
        }
    }

    void add(xcb_window_t child, TopLevel& top) {
        if (makerOf(connection_, top.window) == manager_ && makerOf(connection_, child) != manager_)
            strangers_.push_back({&top, child});
        if (level_.size() < kMostSearchedAtOnce)
            level_.emplace_back(connection_, child, top, wmState_);
    }

    Connection& connection_;
    const xcb_atom_t wmState_;
    const std::uint32_t manager_;
    std::deque<Candidate> level_;
    std::vector<Stranger> strangers_;
};

void findNumbers(Connection& connection, std::vector<TopLevel>& windows, const ManagerAtoms& atoms,
                 std::uint32_t manager) {
    ClientSearch search(connection, atoms.state, manager);
    for (TopLevel& top : windows) {
        if (top.isVisible())
            search.start(top);
    }
    search.run();
    const auto unmarked = search.unmarkedFrames(atoms.embeddingInfo);
    for (TopLevel& top : windows) {
        if (top.isVisible() && top.number == 0 && !unmarked.contains(top.window))
            top.number = top.window;
    }
}

}  // namespace

std::optional<std::vector<TopLevel>> listTopLevels(Connection& connection,
                                                   const ManagerAtoms& atoms) {
    Request<xcb_get_property_reply_t> managerRequest(connection,
                                                     askManager(connection, atoms.check));
    Request<xcb_query_tree_reply_t> treeRequest(
        connection, xcb_query_tree(connection.handle(), connection.screen().root));
    const auto tree = treeRequest.take();
    if (tree == nullptr)
        return std::nullopt;
    std::deque<Description> descriptions;
    for (const xcb_window_t window : childrenIn(*tree))
        descriptions.emplace_back(connection, window);
    std::vector<TopLevel> windows;
    for (Description& description : descriptions) {
        if (const auto window = take(connection, description))
            windows.push_back(*window);
    }
    const std::uint32_t manager = managerIn(connection, managerRequest.take().get());
    findNumbers(connection, windows, atoms, manager);
    return connection.answers() ? std::optional(std::move(windows)) : std::nullopt;
}

}  // namespace qor::x11
