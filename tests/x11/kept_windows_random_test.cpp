/*
 * Clients do at random to windows what makes up the list of windows, and the list of a thread that
 * keeps it is that of a new thread after each step.
 */
#include <algorithm>
#include <array>
#include <future>
#include <random>

#include "randr_client.h"
#include "window_test.h"
#include "window_tree_client.h"

namespace {

constexpr const char* kCompositor = "_NET_WM_CM_S0";
constexpr const char* kManager = "_NET_SUPPORTING_WM_CHECK";
constexpr std::size_t kMostWindows = 40;
constexpr int kSteps = 400;
constexpr int kStepsBetweenPictures = 10;

/* Some clients, one of them the window manager, and their windows. */
class Crowd {
  public:
    Crowd(const std::string& display, unsigned seed)
        : display_(display), tree_(display), randr_(display), random_(seed) {
        for (auto& client : clients_)
            connect(client);
    }

    /* Returns when all clients have been told. The name of what was done. */
    const char* act() {
        parents_ = tree_.parents();
        std::erase_if(parents_, [this](const auto& entry) { return !isTheirs(entry.first); });
        const char* const deed = parents_.size() < 6 ? create() : actOnAny();
        for (const auto& client : clients_)
            client.connection->sync();
        tree_.sync();
        return deed;
    }

    Windows some() {
        Windows windows;
        for (const auto& [window, parent] : parents_) {
            if (below(2) == 0)
                windows.push_back(window);
        }
        return windows;
    }

  private:
    struct Client {
        std::unique_ptr<WindowClient> connection;
        xcb_window_t window = 0;  // that it keeps, never mapped
    };

    int below(int bound) { return std::uniform_int_distribution(0, bound - 1)(random_); }

    void connect(Client& client) {
        client.connection = std::make_unique<WindowClient>(display_);
        client.window = client.connection->create({.area = {-9, -9, 1, 1}});
        client.connection->sync();
    }

    /* Which client made a window is in the upper bits of its number. */
    bool isTheirs(xcb_window_t window) const {
        constexpr int kCountingBits = 21;
        return std::ranges::any_of(clients_, [window](const Client& client) {
            return client.window != window &&
                   client.window >> kCountingBits == window >> kCountingBits;
        });
    }

    const WindowClient& any() {
        return *clients_[static_cast<std::size_t>(below(kClients))].connection;
    }

    xcb_window_t anyWindow() {
        return std::next(parents_.begin(), below(static_cast<int>(parents_.size())))->first;
    }

    Area anyArea() {
        return {
            static_cast<std::int16_t>(below(500) - 120), static_cast<std::int16_t>(below(300) - 60),
            static_cast<std::uint16_t>(5 + below(90)), static_cast<std::uint16_t>(5 + below(90))};
    }

    bool isIn(xcb_window_t window, xcb_window_t ancestor) const {
        for (auto found = parents_.find(window); found != parents_.end();
             found = parents_.find(found->second)) {
            if (found->first == ancestor)
                return true;
        }
        return false;
    }

    const char* create() {
        if (below(20) == 0) {
            any().open({.area = {0, 0, 320, 200}, .isOverrideRedirect = true, .isInputOnly = true});
            return "guard";
        }
        const xcb_window_t candidate = parents_.empty() ? 0 : anyWindow();
        const bool isInner = candidate != 0 && below(2) == 0 && !tree_.isForInputOnly(candidate);
        const xcb_window_t parent = isInner ? candidate : 0;
        any().open({.area = isInner ? Area{0, 0, 20, 20} : anyArea(), .parent = parent});
        return "create";
    }

    const char* actOnAny() {
        const xcb_window_t window = anyWindow();
        const WindowClient& client = any();
        switch (below(20)) {
            case 0:
            case 1:
                return parents_.size() < kMostWindows ? create() : destroy(window);
            case 2:
                return destroy(window);
            case 3:
                return client.map(window), "map";
            case 4:
                return client.unmap(window), "unmap";
            case 5:
                return moveOrResize(window);
            case 6:
                return below(2) == 0 ? client.raise(window) : client.lower(window), "restack";
            case 7:
                return tree_.circulate(below(2) == 0 ? tree_.root() : window), "circulate";
            case 8:
            case 9:
                return reparent(window);
            case 10:
            case 11:
                return client.setManaged(window), "mark";
            case 12:
                return client.setManaged(window, WindowClient::Management::iconic), "iconify";
            case 13:
                return tree_.deleteProperty(window, "WM_STATE"), "unmark";
            case 14:
                return changeStates(window);
            case 15:
                return below(2) == 0 ? client.setEmbedded(window)
                                     : tree_.deleteProperty(window, "_XEMBED_INFO"),
                       "embed";
            case 16:
                return below(2) == 0 ? tree_.takeSelection(kCompositor)
                                     : tree_.releaseSelection(kCompositor),
                       "compositor";
            case 17:
                return changeManager();
            case 18:
                return below(3) == 0 ? resizeScreen() : moveOrResize(window);
            default:
                return below(3) == 0 ? replaceClient() : reparent(window);
        }
    }

    const char* destroy(xcb_window_t window) { return any().destroy(window), "destroy"; }

    const char* moveOrResize(xcb_window_t window) {
        const Area area = anyArea();
        any().move(window, area.x, area.y);
        if (below(2) == 0)
            any().resize(window, area.width, area.height);
        return "move or resize";
    }

    /* Into another window or out of all. A guard, for input only, cannot hold any that is not. */
    const char* reparent(xcb_window_t window) {
        const xcb_window_t parent = below(3) == 0 ? tree_.root() : anyWindow();
        if (!isIn(parent, window) && !tree_.isForInputOnly(parent))
            tree_.reparent(window, parent);
        return "reparent";
    }

    const char* changeStates(xcb_window_t window) {
        constexpr std::array kStates{"_NET_WM_STATE_HIDDEN", "_NET_WM_STATE_SHADED",
                                     "_NET_WM_STATE_ABOVE"};
        std::vector<const char*> states;
        std::ranges::copy_if(kStates, std::back_inserter(states),
                             [this](const char*) { return below(2) == 0; });
        return any().setStates(window, states), "states";
    }

    const char* changeManager() {
        const Client& client = clients_[static_cast<std::size_t>(below(kClients))];
        if (below(3) == 0)
            tree_.deleteProperty(tree_.root(), kManager);
        else
            client.connection->setRootProperty(kManager, XCB_ATOM_WINDOW, client.window);
        return "window manager";
    }

    const char* resizeScreen() {
        randr_.setMode(below(2) == 0 ? modeOfSize(320, 200) : modeOfSize(200, 120));
        return "screen";
    }

    /* Its windows go, and the next client gets the same numbers for its own. */
    const char* replaceClient() {
        Client& client = clients_[static_cast<std::size_t>(below(kClients))];
        const xcb_window_t gone = client.window;
        client.connection.reset();
        EXPECT_TRUE(eventually([&] { return !tree_.parents().contains(gone); }));
        connect(client);
        return "client";
    }

    static constexpr int kClients = 3;

    const std::string display_;
    WindowTreeClient tree_;
    RandrClient randr_;
    std::mt19937 random_;
    std::array<Client, kClients> clients_;
    std::map<xcb_window_t, xcb_window_t> parents_;  // of theirs
};

class KeptWindowsRandomTest : public WindowTest, public testing::WithParamInterface<unsigned> {};

TEST_P(KeptWindowsRandomTest, ListIsRightAfterEachStep) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    Crowd crowd(server().display(), GetParam());
    Windows before;
    int changes = 0;
    for (int step = 0; step < kSteps; ++step) {
        if (step % kStepsBetweenPictures == 0) {
            ASSERT_NE(imageOfWindows(kScreen, crowd.some()), nullptr);
        }
        const char* const deed = crowd.act();
        const Windows listed = std::async(std::launch::async, windowsOnScreen).get();
        ASSERT_EQ(windowsOnScreen(), listed) << "step " << step << ": " << deed;
        changes += listed != before;
        before = listed;
    }
    EXPECT_GT(changes, kSteps / 8);
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeptWindowsRandomTest,
                         testing::Values(30111U, 30222U, 30333U, 30444U, 30555U));

}  // namespace
