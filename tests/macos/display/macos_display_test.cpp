// The library built for macOS shares the same display as the one built for this system, frame for
// frame.
//
//   macos_display_test LOADER PLATFORM APPKIT MACOS_HOST LINUX_HOST [options of GoogleTest]
//
// Both hosts are display_frames. The loader runs the one for macOS, with the other two libraries
// standing in for the system's frameworks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "child_program.h"
#include "painter.h"
#include "randr_client.h"
#include "window_client.h"
#include "xorg_server.h"
#include "xvfb_server.h"

namespace {

using testing::HasSubstr;
using testing::IsSupersetOf;

using Command = std::vector<std::string>;

struct Hosts {
    Command macos;
    Command native;
};

Hosts& hosts() {
    static Hosts hosts;
    return hosts;
}

constexpr std::chrono::seconds kBound{120};

template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kBound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

Command with(Command command, const Command& arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

// Nothing unless the program ended by itself, within the bound. Leaves it to be reaped by its
// owner.
std::optional<int> exitStatus(ChildProgram& program) {
    siginfo_t state{};
    if (!eventually([&] { return program.hasEnded(); }) ||
        waitid(P_PID, static_cast<id_t>(program.pid()), &state, WEXITED | WNOWAIT) != 0 ||
        state.si_code != CLD_EXITED) {
        return std::nullopt;
    }
    return state.si_status;
}

std::string restOf(std::istream& stream) {
    std::ostringstream rest;
    rest << stream.rdbuf();
    return rest.str();
}

// The pixels of a file that display_frames wrote.
struct Frame {
    explicit Frame(const std::string& file) {
        std::istringstream contents(file);
        contents >> width >> height;
        contents.ignore();
        pixels = restOf(contents);
        EXPECT_GT(pixels.size(), 0U);
        EXPECT_EQ(pixels.size(), width * height * 4);
    }

    [[nodiscard]] std::set<std::string> colors() const {
        std::set<std::string> colors;
        for (size_t i = 0; i + 4 <= pixels.size(); i += 4) {
            colors.insert(pixels.substr(i, 3));
        }
        return colors;
    }

    [[nodiscard]] bool shows(Color color) const {
        const auto byte = [](uint8_t value) { return static_cast<char>(value); };
        return colors().contains({byte(color.blue), byte(color.green), byte(color.red)});
    }

    size_t width = 0;
    size_t height = 0;
    std::string pixels;
};

// What a host told of a display.
struct Account {
    std::optional<int> status;
    std::string output;
    std::map<std::string, std::string> files;
};

Account accountOf(const Command& host, const std::string& display, xcb_window_t excluded,
                  xcb_window_t shared) {
    const TemporaryDirectory directory;
    ChildProgram program(
        with(host, {"frames", directory.path(), std::to_string(excluded), std::to_string(shared)}),
        {{"DISPLAY", display}});
    Account account{exitStatus(program), program.output(), {}};
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
        std::ifstream file(entry.path(), std::ios::binary);
        account.files[entry.path().filename()] = restOf(file);
    }
    return account;
}

constexpr Color kSecret{200, 10, 20};
constexpr Color kShared{30, 180, 40};
constexpr Color kInside{50, 60, 220};

// A backdrop and windows, one to share, and one above the others to leave out. Nothing is drawn on
// the root window itself: what of that lies beneath windows, no server keeps for sure.
class Scene {
  public:
    explicit Scene(const std::string& display) : display_(display), client_(display) {
        client_.setBackdrop({90, 140, 200}, {20, 60, 110}, 23);
        shared_ = client_.open({.area = {33, 41, 150, 110}, .color = kShared});
        client_.open({.area = {10, 10, 60, 35}, .color = kInside, .parent = shared_});
        client_.open({.area = {300, 20, 111, 222}, .color = {230, 210, 30}, .border = 3});
        client_.open({.area = {150, 120, 201, 77}, .color = {0, 128, 128}});
        secret_ = client_.open({.area = {90, 70, 170, 120}, .color = kSecret});
        client_.sync();
    }

    [[nodiscard]] Account accountOf(const Command& host) const {
        return ::accountOf(host, display_, secret_, shared_);
    }

  private:
    const std::string display_;
    WindowClient client_;
    xcb_window_t shared_ = 0;
    xcb_window_t secret_ = 0;
};

std::vector<std::string> namesOf(const Account& account) {
    std::vector<std::string> names;
    for (const auto& [name, file] : account.files) {
        names.push_back(name);
    }
    return names;
}

// That there is something to compare, whatever it is compared with.
void expectPictures(const Account& account) {
    EXPECT_EQ(account.status, 0);
    EXPECT_THAT(namesOf(account), IsSupersetOf({"whole 0", "scaled", "resized", "paused", "resumed",
                                                "restarted", "excluded", "shared"}))
        << account.output;
    for (const auto& [name, file] : account.files) {
        EXPECT_EQ(Frame(file).colors().size() > 1, name != "paused") << name;
    }
}

void expectSameAccounts(const Account& macos, const Account& native) {
    EXPECT_EQ(macos.output, native.output);
    EXPECT_EQ(namesOf(macos), namesOf(native));
    for (const auto& [name, file] : macos.files) {
        const auto other = native.files.find(name);
        EXPECT_TRUE(other != native.files.end() && file == other->second) << name << " differs";
    }
}

void expectSameOn(const std::string& display, const std::string& monitorLine) {
    const Scene scene(display);
    const Account macos = scene.accountOf(hosts().macos);
    EXPECT_THAT(macos.output, HasSubstr(monitorLine));
    expectPictures(macos);
    expectSameAccounts(macos, scene.accountOf(hosts().native));
}

TEST(LibraryForMacos, givesTheSameMonitorsAndFramesOfAVirtualDisplay) {
    const XvfbServer server("641x483x24");
    expectSameOn(server.display(), "from 0, 0 to 641, 483");
}

TEST(LibraryForMacos, givesTheSameMonitorsAndFramesOfTwoDisplays) {
    const XorgServer server;
    RandrClient randr(server.display());
    randr.arrange({{0, modeOfSize(640, 480)}, {1, modeOfSize(400, 300), 640, 50}});
    expectSameOn(server.display(), "from 640, 50 to 1040, 350");
}

TEST(LibraryForMacos, leavesOutTheExcludedWindowAndShowsTheSharedOneAlone) {
    const XvfbServer server("640x480x24");
    const Account account = Scene(server.display()).accountOf(hosts().macos);
    ASSERT_EQ(account.status, 0) << account.output;
    const Frame whole(account.files.at("whole 0"));
    EXPECT_TRUE(whole.shows(kSecret) && whole.shows(kShared));
    EXPECT_FALSE(Frame(account.files.at("excluded")).shows(kSecret));
    const Frame shared(account.files.at("shared"));
    EXPECT_TRUE(shared.shows(kShared) && shared.shows(kInside));
    EXPECT_FALSE(shared.shows(kSecret));
}

TEST(LibraryForMacos, stopsWhenTheDisplayServerHasDied) {
    // A number that no other server picks, or the host might connect to that one.
    auto server = std::make_unique<XvfbServer>("320x240x24",
                                               Command{":" + std::to_string(100'000 + getpid())});
    const std::string display = server->display();
    ChildProgram host(with(hosts().macos, {"until-loss"}), {{"DISPLAY", display}});
    {
        const Scene scene(display);
        ASSERT_TRUE(eventually([&] {
            return host.output().find("capturing") != std::string::npos || host.hasEnded();
        }));
    }
    server.reset();
    EXPECT_EQ(exitStatus(host), 0);
    EXPECT_THAT(host.output(), HasSubstr("capturing\n"));
    EXPECT_THAT(host.output(), HasSubstr("stopped\n"));
}

bool areThere(const Command& files) {
    return std::ranges::all_of(files, [](const std::string& file) {
        const bool isThere = std::filesystem::is_regular_file(file);
        if (!isThere) {
            std::fprintf(stderr, "macos_display_test: %s is not there\n", file.c_str());
        }
        return isThere;
    });
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const Command files(argv + 1, argv + argc);
    if (files.size() != 5) {
        std::fprintf(stderr,
                     "usage: macos_display_test LOADER PLATFORM APPKIT MACOS_HOST LINUX_HOST\n");
        return EXIT_FAILURE;
    }
    if (!areThere(files)) {
        return EXIT_FAILURE;
    }
    hosts() = {{files[0], "--stand-in", files[1], "--stand-in", files[2], files[3]}, {files[4]}};
    return RUN_ALL_TESTS();
}
