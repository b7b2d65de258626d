/* What a host that captures shares with others, and what is left of it when it is killed. */
#include <CaptureManager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vqutilc.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "process_resources.h"
#include "screen_test.h"

namespace {

enum class Memory { descriptors, identifiers };

constexpr const char* kNameless = "/memfd:screen image (deleted)";
constexpr const char* kMarkedForRemoval = "/SYSV00000000 (deleted)";

/* The files behind a process's mappings that others may write to as well. */
std::vector<std::string> sharedMemoryOf(pid_t pid) {
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    std::vector<std::string> files;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream columns(line);
        std::string addresses, permissions, offset, device, node, file;
        columns >> addresses >> permissions >> offset >> device >> node >> std::ws;
        std::getline(columns, file);
        if (permissions == "rw-s")
            files.push_back(file);
    }
    return files;
}

std::vector<std::string> filesOpenIn(pid_t pid) {
    std::vector<std::string> files;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"))
        files.push_back(std::filesystem::read_symlink(entry.path()));
    return files;
}

bool hasFrame(unsigned capture) {
    if (CapMgr_LockScreenBuffer(capture).pData == nullptr)
        return false;
    CapMgr_UnlockScreenBuffer(capture);
    return true;
}

/* A process that captures the display until it is killed. */
class CapturingHost {
  public:
    explicit CapturingHost(Memory memory) {
        int ready[2];
        if (pipe2(ready, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        const pid_t parent = getpid();
        pid_ = fork();
        if (pid_ == 0)
            capture(memory, parent, ready[1]);
        close(ready[1]);
        char byte = 0;
        hasFrame_ = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }
    ~CapturingHost() { end(); }
    CapturingHost(const CapturingHost&) = delete;
    CapturingHost& operator=(const CapturingHost&) = delete;

    pid_t pid() const { return pid_; }
    bool hasFrame() const { return hasFrame_; }

    void end() {
        if (!hasEnded_) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        hasEnded_ = true;
    }

  private:
    [[noreturn]] static void capture(Memory memory, pid_t parent, int ready) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(1);
        std::optional<NoLargeFiles> noLargeFiles;
        if (memory == Memory::identifiers)
            noLargeFiles.emplace();
        vq_set_trace_level(-1);
        const unsigned capture = CapMgr_GenerateCaptureIndex();
        CapMgr_StartCapture(capture, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                            CAP_TYPE_DESKTOP, 0, PARALLEL_CAPTURE_MODE);
        if (!eventually([=] { return ::hasFrame(capture); }) || write(ready, "x", 1) != 1)
            _exit(1);
        for (;;)
            pause();
    }

    pid_t pid_ = -1;
    bool hasFrame_ = false;
    bool hasEnded_ = false;
};

class KilledCaptureTest : public testing::TestWithParam<Memory> {
  protected:
    void SetUp() override {
        useDisplay(server_.display());
        ASSERT_TRUE(mayForkHosts());
        host_.emplace(GetParam());
        ASSERT_TRUE(host_->hasFrame());
    }

    const XvfbServer server_{"640x480x24"};
    const PaintedScene scene_{server_.display()};  // or a frame of one colour would be held back
    std::optional<CapturingHost> host_;
};

TEST_P(KilledCaptureTest, SharesNothingThatHasAName) {
    const char* const expected = GetParam() == Memory::descriptors ? kNameless : kMarkedForRemoval;
    const auto shared = sharedMemoryOf(host_->pid());
    EXPECT_FALSE(shared.empty());
    for (const std::string& file : shared)
        EXPECT_EQ(file, expected);
    for (const std::string& file : filesOpenIn(host_->pid()))
        EXPECT_FALSE(file.starts_with("/dev/shm/")) << file;
}

TEST_P(KilledCaptureTest, SharesWithItsOwnUserAlone) {
    const auto segments = systemVSegmentsOf(host_->pid());
    EXPECT_EQ(segments.empty(), GetParam() == Memory::descriptors);
    for (const int segment : segments) {
        shmid_ds state{};
        ASSERT_EQ(shmctl(segment, IPC_STAT, &state), 0);
        EXPECT_EQ(state.shm_perm.mode & 0777, 0600);
    }
}

TEST_P(KilledCaptureTest, LeavesNothingBehind) {
    EXPECT_FALSE(sharedMemoryOf(server_.pid()).empty());
    host_->end();
    EXPECT_TRUE(eventually([this] {
        return systemVSegmentsOf(host_->pid()).empty() && sharedMemoryOf(server_.pid()).empty();
    })) << testing::PrintToString(sharedMemoryOf(server_.pid()));
}

INSTANTIATE_TEST_SUITE_P(Ways, KilledCaptureTest,
                         testing::Values(Memory::descriptors, Memory::identifiers),
                         [](const auto& instance) {
                             return instance.param == Memory::descriptors ? "Descriptors"
                                                                          : "Identifiers";
                         });

}  // namespace
