/* What other users of the machine get to see, and what a host that is killed leaves behind. */
#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/composite.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "process_resources.h"
#include "window_test.h"

namespace {

constexpr uid_t kAnotherUser = 65534;

class WindowPrivacyTest : public WindowTest {
  protected:
    /* Takes pictures of a window, which leaves the memory for them in use. */
    std::vector<Image> takePictures() const {
        const xcb_window_t window = open({.area = {40, 30, 100, 80}, .color = kGreen});
        std::vector<Image> images;
        images.push_back(imageOfWindows(kScreen, {window}));
        images.push_back(imageOfWindow(kScreen, window));
        return images;
    }
};

/* Runs a function in a child of another user, where this process may become one; false too where it
 * may not. */
bool succeedsForAnotherUser(const std::function<bool()>& function) {
    const pid_t child = fork();
    if (child == 0) {
        const bool isAnother = setgroups(0, nullptr) == 0 &&
                               setresgid(kAnotherUser, kAnotherUser, kAnotherUser) == 0 &&
                               setresuid(kAnotherUser, kAnotherUser, kAnotherUser) == 0;
        _exit(isAnother && function() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/* Only root can. For others, the tests look at the permissions alone. */
bool canBecomeAnotherUser() {
    return succeedsForAnotherUser([] { return getuid() == kAnotherUser; });
}

bool attaches(int identifier, int flags) {
    void* const data = shmat(identifier, nullptr, flags);
    return data != reinterpret_cast<void*>(-1);
}

TEST_F(WindowPrivacyTest, SystemVSegmentIsForItsOwnerAndMarkedForRemoval) {
    const NoLargeFiles noLargeFiles;
    const auto held = takePictures();
    const auto segments = systemVSegmentsOf(getpid());
    ASSERT_FALSE(segments.empty());
    for (const int segment : segments) {
        shmid_ds state{};
        ASSERT_EQ(shmctl(segment, IPC_STAT, &state), 0);
        EXPECT_EQ(state.shm_perm.mode & 0777, 0600);
        EXPECT_NE(state.shm_perm.mode & SHM_DEST, 0);
        EXPECT_TRUE(attaches(segment, SHM_RDONLY));  // by its identifier, it still can be
    }
}

TEST_F(WindowPrivacyTest, SystemVSegmentIsRefusedToAnotherUser) {
    ASSERT_EQ(canBecomeAnotherUser(), geteuid() == 0);
    const NoLargeFiles noLargeFiles;
    const auto held = takePictures();
    const auto segments = systemVSegmentsOf(getpid());
    ASSERT_FALSE(segments.empty());
    for (const int segment : segments) {
        EXPECT_FALSE(succeedsForAnotherUser([=] { return attaches(segment, SHM_RDONLY); }));
        EXPECT_FALSE(succeedsForAnotherUser([=] { return attaches(segment, 0); }));
    }
}

/* Where memory without a name can be reached: a process's mappings and descriptors of it. */
std::vector<std::string> pathsToImagesOf(pid_t pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    std::vector<std::string> paths;
    std::ifstream maps(process + "/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/memfd:screen image") != std::string::npos)
            paths.push_back(process + "/map_files/" + line.substr(0, line.find(' ')));
    }
    for (const auto& entry : std::filesystem::directory_iterator(process + "/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry, ignored)
                .string()
                .starts_with("/memfd:screen image"))
            paths.push_back(entry.path());
    }
    return paths;
}

void expectForOwnerOnly(const std::string& directory) {
    struct stat state {};
    ASSERT_EQ(stat(directory.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 077, 0) << directory;
    EXPECT_EQ(state.st_uid, geteuid()) << directory;
}

TEST_F(WindowPrivacyTest, UnnamedMemoryIsOutOfAnotherUsersReach) {
    ASSERT_EQ(canBecomeAnotherUser(), geteuid() == 0);
    const auto held = takePictures();
    for (const pid_t process : {getpid(), server().pid()}) {
        const auto paths = pathsToImagesOf(process);
        ASSERT_FALSE(paths.empty());
        expectForOwnerOnly("/proc/" + std::to_string(process) + "/map_files");
        expectForOwnerOnly("/proc/" + std::to_string(process) + "/fd");
        for (const std::string& path : paths)
            EXPECT_FALSE(succeedsForAnotherUser([&] {
                return ::open(path.c_str(), O_RDONLY) != -1;
            })) << path;
    }
}

/* The windows beneath one, however deep. */
int countWindows(xcb_connection_t* connection, xcb_window_t window) {
    xcb_query_tree_reply_t* const tree =
        xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr);
    int count = tree == nullptr ? 0 : xcb_query_tree_children_length(tree);
    for (int i = count; i > 0; --i)
        count += countWindows(connection, xcb_query_tree_children(tree)[i - 1]);
    std::free(tree);
    return count;
}

/* What of a host there is in the server, as far as the server tells. */
struct Trace {
    int windows = 0;
    bool areContentsKept = false;

    friend bool operator==(const Trace&, const Trace&) = default;
};

void PrintTo(const Trace& trace, std::ostream* out) {
    *out << trace.windows << " windows, contents " << (trace.areContentsKept ? "" : "not ")
         << "kept";
}

Trace traceIn(const XvfbServer& server, xcb_window_t window) {
    xcb_connection_t* const connection = xcb_connect(server.display().c_str(), nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    std::free(xcb_composite_query_version_reply(
        connection, xcb_composite_query_version(connection, 0, 4), nullptr));
    // Only a window whose content is kept has a pixmap to name.
    xcb_generic_error_t* const error = xcb_request_check(
        connection,
        xcb_composite_name_window_pixmap_checked(connection, window, xcb_generate_id(connection)));
    const Trace trace{countWindows(connection, root), error == nullptr};
    std::free(error);
    xcb_disconnect(connection);
    return trace;
}

enum class Memory { descriptors, identifiers };

class KilledHostTest : public WindowTest, public testing::WithParamInterface<Memory> {
  protected:
    /* A host that takes pictures until it is killed, of a window from which it has to wipe what
     * another left there. */
    [[noreturn]] static void takePictures(xcb_window_t window, int ready) {
        std::optional<NoLargeFiles> noLargeFiles;
        if (GetParam() == Memory::identifiers)
            noLargeFiles.emplace();
        for (int taken = 0;; ++taken) {
            if (imageOfWindows(kScreen, {window}) == nullptr)
                _exit(1);
            if (taken == 3 && write(ready, "x", 1) != 1)
                _exit(1);
        }
    }
};

TEST_P(KilledHostTest, LeavesNothing) {
    const xcb_window_t window = open({.area = kScreen, .background = Look::Background::none});
    open({.area = kScreen, .color = kRed});
    const Trace before = traceIn(server(), window);
    ASSERT_TRUE(mayForkHosts());
    int ready[2];
    ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0)
        takePictures(window, ready[1]);
    close(ready[1]);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    EXPECT_TRUE(traceIn(server(), window).areContentsKept);
    EXPECT_EQ(systemVSegmentsOf(child).empty(), GetParam() == Memory::descriptors);
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(eventually([&] {
        return traceIn(server(), window) == before && systemVSegmentsOf(child).empty() &&
               pathsToImagesOf(server().pid()).empty();
    })) << testing::PrintToString(traceIn(server(), window));
}

INSTANTIATE_TEST_SUITE_P(Ways, KilledHostTest,
                         testing::Values(Memory::descriptors, Memory::identifiers),
                         [](const auto& instance) {
                             return instance.param == Memory::descriptors ? "Descriptors"
                                                                          : "Identifiers";
                         });

}  // namespace
