#include "x11/top_levels.h"

#include <algorithm>
#include <deque>
#include <set>
#include <span>
#include <utility>

#include "x11/desktop_image.h"
#include "x11/property.h"
#include "x11/reply_list.h"
#include "x11/window_watch.h"

namespace qor::x11 {
namespace {

// Window managers put an application's window one to three levels deep. The bounds are for menus
// and other windows without such a window in them, which would be searched to the last button.
constexpr int kDeepestSearch = 4;
constexpr std::size_t kMostSearchedAtOnce = 4096;
constexpr std::size_t kMostChildrenSearched = 64;

struct Description {
    Description(Connection& connection, xcb_window_t describedWindow)
        : window(describedWindow),
          attributes(connection, xcb_get_window_attributes(connection.handle(), window)),
          geometry(connection, xcb_get_geometry(connection.handle(), window)) {}

    const xcb_window_t window;
    Request<xcb_get_window_attributes_reply_t> attributes;
    Request<xcb_get_geometry_reply_t> geometry;
};

/* Which client made a window: in its identifier, above the bits that the client counts with. */
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
std::optional<TopLevel> take(Description& description) {
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
        .isForInputOnly = attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY};
}

/* A window that may be the application's, or have it in it. */
struct Candidate {
    Candidate(Connection& connection, xcb_window_t candidate, TopLevel& top, xcb_atom_t wmState)
        : window(candidate),
          topLevel(top),
          state(connection, xcb_get_property(connection.handle(), 0, window, wmState,
                                             XCB_GET_PROPERTY_TYPE_ANY, 0, 1)),
          tree(connection, xcb_query_tree(connection.handle(), window)) {}

    const xcb_window_t window;
    TopLevel& topLevel;
    Request<xcb_get_property_reply_t> state;
    Request<xcb_query_tree_reply_t> tree;
};

/* An application's window that a window manager has marked. */
struct Managed {
    TopLevel* topLevel;
    bool isIconic;
};

bool isIconic(const xcb_get_property_reply_t& state) {
    constexpr std::uint32_t kIconicState = 3;
    return singleValueIn(&state) == kIconicState;
}

/* Another client's window in one of the window manager's. */
struct Stranger {
    TopLevel* topLevel;
    xcb_window_t window;
};

/* Searches all windows at once, level by level, so that it takes a round trip a level. */
class ClientSearch {
  public:
    ClientSearch(Connection& connection, xcb_atom_t wmState, std::uint32_t manager,
                 WindowWatch* watch)
        : connection_(connection), wmState_(wmState), manager_(manager), watch_(watch) {}

    void start(TopLevel& top) {
        if (watch_ != nullptr)
            watch_->addTopLevel(top.window);
        level_.emplace_back(connection_, top.window, top, wmState_);
    }

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

    const std::vector<Managed>& managed() const { return managed_; }

  private:
    void examine(Candidate& candidate) {
        const auto state = candidate.state.take();
        const auto tree = candidate.tree.take();
        if (candidate.topLevel.number != 0 || state == nullptr || tree == nullptr)
            return;
        if (state->type != XCB_NONE) {
            candidate.topLevel.number = candidate.window;
            managed_.push_back({&candidate.topLevel, isIconic(*state)});
            return;
        }
        const auto children = childrenIn(*tree);
        if (watch_ != nullptr)
            watch_->addChildren(candidate.window, children);
        // From the top: of several applications' windows in one frame, the one on top is seen.
        std::size_t searched = 0;
        for (std::size_t i = children.size(); i > 0 && searched < kMostChildrenSearched; --i) {
            add(children[i - 1], candidate.topLevel);
            ++searched;
        }
    }

    void add(xcb_window_t child, TopLevel& top) {
        if (watch_ != nullptr)
            watch_->add(child);
        if (makerOf(connection_, top.window) == manager_ && makerOf(connection_, child) != manager_)
            strangers_.push_back({&top, child});
        if (level_.size() < kMostSearchedAtOnce)
            level_.emplace_back(connection_, child, top, wmState_);
    }

    Connection& connection_;
    const xcb_atom_t wmState_;
    const std::uint32_t manager_;
    WindowWatch* const watch_;
    std::deque<Candidate> level_;
    std::vector<Managed> managed_;
    std::vector<Stranger> strangers_;
};

/* A window that is rolled up counts as minimised too, but its frame is seen. */
void markMinimised(Connection& connection, const std::vector<Managed>& managed,
                   const ManagerAtoms& atoms) {
    constexpr std::uint32_t kMostStates = 64;
    std::deque<Request<xcb_get_property_reply_t>> requests;
    for (const Managed& window : managed)
        requests.emplace_back(connection,
                              xcb_get_property(connection.handle(), 0, window.topLevel->number,
                                               atoms.netState, XCB_ATOM_ATOM, 0, kMostStates));
    for (std::size_t i = 0; i < managed.size(); ++i) {
        const auto reply = requests[i].take();
        const auto states = atomsIn(reply.get());
        const bool isRolledUp = std::ranges::count(states, atoms.shaded) > 0;
        const bool isMinimised =
            managed[i].isIconic || std::ranges::count(states, atoms.hidden) > 0;
        managed[i].topLevel->isHidden = isMinimised && !isRolledUp;
    }
}

/* Some compositing managers keep the windows of other workspaces mapped beneath a window for input
 * only that covers the screen, so that the pointer does not get at them. */
void markWindowsBeneathGuard(const Connection& connection, WindowStack& stack,
                             std::uint32_t manager) {
    const auto isGuard = [&](const TopLevel& top) {
        return top.isForInputOnly && top.isMapped && makerOf(connection, top.window) == manager &&
               intersection(top.box, stack.root) == stack.root;
    };
    const auto guard = std::ranges::find_if(stack.windows.rbegin(), stack.windows.rend(), isGuard);
    for (auto top = guard; top != stack.windows.rend(); ++top)
        top->isHidden = true;
}

void findNumbers(Connection& connection, WindowStack& stack, const ManagerAtoms& atoms,
                 std::uint32_t manager, WindowWatch* watch) {
    ClientSearch search(connection, atoms.state, manager, watch);
    for (TopLevel& top : stack.windows) {
        if (top.isVisible())
            search.start(top);
    }
    search.run();
    const auto unmarked = search.unmarkedFrames(atoms.embeddingInfo);
    for (TopLevel& top : stack.windows) {
        if (top.isVisible() && top.number == 0 && !unmarked.contains(top.window))
            top.number = top.window;
    }
    markMinimised(connection, search.managed(), atoms);
    if (stack.isComposited)
        markWindowsBeneathGuard(connection, stack, manager);
}

}  // namespace

std::optional<WindowStack> listTopLevels(Connection& connection, const ManagerAtoms& atoms,
                                         WindowWatch* watch) {
    xcb_connection_t* handle = connection.handle();
    const xcb_window_t root = connection.screen().root;
    Request<xcb_get_property_reply_t> managerRequest(connection,
                                                     askManager(connection, atoms.check));
    Request<xcb_get_selection_owner_reply_t> compositorRequest(
        connection, xcb_get_selection_owner(handle, atoms.compositor));
    Request<xcb_get_geometry_reply_t> rootRequest(connection, xcb_get_geometry(handle, root));
    Request<xcb_query_tree_reply_t> treeRequest(connection, xcb_query_tree(handle, root));
    const std::uint32_t manager = managerIn(connection, managerRequest.take().get());
    const auto compositor = compositorRequest.take();
    const auto geometry = rootRequest.take();
    const auto tree = treeRequest.take();
    if (compositor == nullptr || geometry == nullptr || tree == nullptr)
        return std::nullopt;
    WindowStack stack;
    stack.root = {0, 0, geometry->width, geometry->height};
    stack.isComposited = compositor->owner != XCB_NONE;
    std::deque<Description> descriptions;
    for (const xcb_window_t window : childrenIn(*tree))
        descriptions.emplace_back(connection, window);
    for (Description& description : descriptions) {
        auto window = take(description);
        if (!window)
            continue;
        window->isBesideScreen = intersection(window->box, stack.root).empty();
        stack.windows.push_back(*window);
    }
    findNumbers(connection, stack, atoms, manager, watch);
    return connection.answers() ? std::optional(std::move(stack)) : std::nullopt;
}

}  // namespace qor::x11
