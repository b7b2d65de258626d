/* How recordings end, and what is left of them. */
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <optional>

#include "live_scene.h"
#include "randr_client.h"
#include "record_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using RecordEndTest = RecordTest;

TEST_F(RecordEndTest, InterruptionCompletesTheFile) {
    ChildProcess child(capmgr(server.display(), {"record", "a.mkv"}));
    ASSERT_TRUE(child.awaitOutput("processor\n"));
    child.send(SIGINT);
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_NEAR(videoFacts(file("a.mkv")).seconds, summaryNumber(result.output, "duration"), 0.06);
    EXPECT_EQ(decodedFrames(file("a.mkv")).size(), summaryNumber(result.output, "frames"));
}

class SuddenEndTest : public RecordTest, public testing::WithParamInterface<const char*> {
  protected:
    /* A recording that has gone on for a while. */
    ChildProcess recording{capmgr(server.display(), {"record", GetParam()})};
};

TEST_P(SuddenEndTest, SecondInterruptionLeavesWhatWasWritten) {
    ASSERT_TRUE(recording.awaitOutput("processor\n"));
    recording.send(SIGSTOP);
    recording.send(SIGINT);
    recording.send(SIGTERM);
    recording.send(SIGCONT);
    const ChildResult result = recording.finish();
    EXPECT_GT(result.status, 128);
    EXPECT_THAT(result.output, Not(HasSubstr("duration")));
    EXPECT_THAT(decodedFrames(file(GetParam())), Not(IsEmpty()));
}

TEST_P(SuddenEndTest, KilledRecordingLeavesWhatWasWritten) {
    ASSERT_TRUE(recording.awaitOutput("processor\n"));
    recording.send(SIGKILL);
    EXPECT_EQ(recording.finish().status, 128 + SIGKILL);
    EXPECT_THAT(decodedFrames(file(GetParam())), Not(IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(Containers, SuddenEndTest, testing::Values("a.mkv", "a.mp4"),
                         [](const auto& test) { return std::string(test.param).substr(2); });

struct Limit {
    const char* file;
    const char* blocks;  // of 512 bytes: more than one frame takes
};

void PrintTo(const Limit& limit, std::ostream* stream) {
    *stream << limit.file;
}

class FullDiskTest : public RecordTest, public testing::WithParamInterface<Limit> {
  protected:
    /* A recording whose file may become no larger than that many blocks. */
    ChildResult recordWithin(const std::string& blocks) const {
        ChildSetup setup = program("/bin/sh", server.display());
        setup.command.insert(setup.command.end(),
                             {"-c", "ulimit -f " + blocks + " && exec \"$@\" >/dev/null", "sh",
                              CAPMGR_PROGRAM, "record", GetParam().file});
        return runToEnd(setup);
    }
};

TEST_P(FullDiskTest, EndsTheRecordingWhichPlaysUpToThere) {
    const LiveScene scene(server.display());
    const std::filesystem::path path = file(GetParam().file);
    expectRefusal(recordWithin(GetParam().blocks), 1,
                  "cannot write " + path.string() + ": File too large; its first ");
    EXPECT_THAT(decodedFrames(path), Not(IsEmpty()));
}

TEST_P(FullDiskTest, LeavesNoFileWithoutAWholeFrame) {
    expectRefusal(recordWithin("1"), 1, "File too large");
    EXPECT_THAT(names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Containers, FullDiskTest,
                         testing::Values(Limit{"a.y4m", "500"}, Limit{"a.mkv", "24"},
                                         Limit{"a.mp4", "24"}),
                         [](const auto& test) { return std::string(test.param.file).substr(2); });

TEST_F(RecordEndTest, FullDeviceIsReported) {
    expectRefusal(record({"--format", "mkv", "/dev/full"}), 1,
                  "cannot write /dev/full: No space left on device");
}

TEST_F(RecordEndTest, ClosedWindowEndsTheFile) {
    ChildProcess child(capmgr(
        server.display(), {"record", "--codec", "ffv1", "--window", std::to_string(red), "a.mkv"}));
    ASSERT_TRUE(child.awaitOutput("processor\n"));
    client.destroy(red);
    client.sync();
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors,
              "note: window " + std::to_string(red) + " was closed; the recording ends there\n");
    for (const Picture& frame : decodedFrames(file("a.mkv"))) {
        EXPECT_EQ(colorAt(frame, 70, 70), kRed);
    }
}

TEST_F(RecordEndTest, MinimisedWindowGoesOnBeingRecorded) {
    client.setManaged(red);
    client.sync();
    ChildProcess child(capmgr(server.display(), {"record", "--seconds", "1.6", "--codec", "ffv1",
                                                 "--window", std::to_string(red), "a.mkv"}));
    ASSERT_TRUE(child.awaitOutput("processor\n"));
    client.setManaged(red, WindowClient::Management::iconic);
    client.unmap(red);
    client.sync();
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_NEAR(videoFacts(file("a.mkv")).seconds, 1.6, 0.002);
    EXPECT_EQ(colorAt(decodedFrames(file("a.mkv")).back(), 70, 70), kRed);
}

TEST_F(RecordEndTest, ScreenOfAnotherSizeEndsTheFileAndFails) {
    ChildProcess child(capmgr(server.display(), {"record", "a.mp4"}));
    ASSERT_TRUE(child.awaitOutput("processor\n"));
    RandrClient(server.display()).setMode(modeOfSize(160, 120));
    expectRefusal(child.finish(), 1, "monitor 0 changed its size or place while it was captured");
    EXPECT_THAT(decodedFrames(file("a.mp4")), Not(IsEmpty()));
}

using LostServerRecordTest = CapmgrTest;

// A recording of a window asks the server for its windows when it has no images; one of a monitor
// waits for some seconds, as a run does.
TEST_F(LostServerRecordTest, EndsTheFileAndFails) {
    std::optional<XvfbServer> server;
    server.emplace("320x240x24");
    std::optional<WindowClient> client(server->display());
    const xcb_window_t window = client->open({.area = {20, 20, 200, 100}, .color = kRed});
    client->sync();
    ChildProcess child(
        capmgr(server->display(), {"record", "--window", std::to_string(window), "a.mkv"}));
    ASSERT_TRUE(child.awaitOutput("processor\n"));
    kill(server->pid(), SIGKILL);  // first, or it is a window that was closed
    server.reset();
    client.reset();
    expectRefusal(child.finish(), 1, "display server");
    EXPECT_THAT(decodedFrames(file("a.mkv")), Not(IsEmpty()));
    EXPECT_GT(videoFacts(file("a.mkv")).seconds, 0.0);
}

TEST_F(RecordEndTest, ReaderThatGoesAwayEndsTheRecording) {
    ChildProcess child(capmgr(server.display(), {"record", "--format", "y4m", "-"}));
    ASSERT_TRUE(child.awaitOutput("FRAME"));
    child.closeOutput();
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("capmgr: cannot write to standard output: Broken pipe\n"));
    EXPECT_THAT(names(), IsEmpty());
}

// The reader begins when the first progress is told, which is long after the pipe is full.
TEST_F(RecordEndTest, FramesThatASlowReaderHoldsUpAreDroppedAndCounted) {
    ChildSetup setup = program("/bin/sh", server.display());
    setup.command.insert(
        setup.command.end(),
        {"-c",
         "\"$@\" 2>log | { until grep -q processor log; do sleep 0.05; done; cat >/dev/null; }; "
         "cat log",
         "sh", CAPMGR_PROGRAM, "record", "--seconds", "1.2", "--format", "y4m", "-"});
    EXPECT_THAT(runToEnd(setup).output,
                testing::ContainsRegex("\nframes      [0-9]+ \\([1-9][0-9]* dropped"));
}

TEST_F(RecordEndTest, StandardOutputHoldsTheRecordingAndNothingElse) {
    const ChildResult result = record({"--seconds", "0.3", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("\nfile        standard output\n"));
    std::ofstream(file("a.mkv")) << result.output;
    EXPECT_EQ(decodedFrames(file("a.mkv")).size(), summaryNumber(result.errors, "frames"));
}

TEST_F(RecordEndTest, PipeGetsTheRecordingOfTheFormatAskedFor) {
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    ChildProcess child(capmgr(server.display(), {"record", "--seconds", "0.3", "--fps", "10",
                                                 "--format", "y4m", "pipe"}));
    const ChildResult copy = runToEnd({{"/bin/cat", file("pipe").string()}, "", file("")});
    EXPECT_EQ(child.finish().status, 0);
    EXPECT_EQ(copy.output.size(), copy.output.find('\n') + 1 + 3 * (6 + 320 * 240 * 3 / 2));
}

TEST_F(RecordEndTest, TerminalGetsNoRecording) {
    ChildSetup setup = capmgr(server.display(), {"record", "-"});
    setup.output = OutputKind::Terminal;
    expectRefusal(runToEnd(setup), 2, "standard output is a terminal");
}

using NoFrameTest = CapmgrTest;

// A screen of one colour holds the first frame back long enough to be interrupted.
TEST_F(NoFrameTest, InterruptionKeepsTheFileThatWasThere) {
    const XvfbServer server("320x240x24");
    makeFile("a.mkv", "what was there before");
    ChildSetup setup = program("/bin/sh", server.display());
    setup.command.insert(setup.command.end(), {"-c", "exec \"$@\" 2>&1", "sh", CAPMGR_PROGRAM,
                                               "--trace", "2", "record", "a.mkv"});
    ChildProcess child(setup);
    ASSERT_TRUE(child.awaitOutput("CCaptureMac::DoCapture DisplayID"));
    child.send(SIGINT);
    const ChildResult result = child.finish();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("capmgr: interrupted before a frame came"));
    EXPECT_EQ(std::filesystem::file_size(file("a.mkv")), 21U);
    EXPECT_THAT(names(), ElementsAre("a.mkv"));
}

}  // namespace
