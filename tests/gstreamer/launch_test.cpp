/* The element as people run it: by the tools of GStreamer, and by the script that records. */
#include <csignal>
#include <filesystem>
#include <sstream>

#include "child_process.h"
#include "child_program.h"
#include "element_test.h"

namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::HasSubstr;

/* How far a colour may be off after it was encoded. */
constexpr int kLossy = 14;

class LaunchTest : public ElementTest {
  protected:
    LaunchTest() {
        std::string pattern = (fs::temp_directory_path() / "qorcapturesrc-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no directory for the test: " + pattern);
        }
        directory_ = pattern;
    }
    ~LaunchTest() override {
        std::error_code ignored;
        fs::remove_all(directory_, ignored);
    }

    /* Blanks separate the words of the command. */
    ChildResult run(const std::string& program, const std::string& arguments) const {
        ChildSetup setup{{program}, display(), directory_, OutputKind::Pipe};
        std::istringstream words(arguments);
        for (std::string word; words >> word;) {
            setup.command.push_back(word);
        }
        return runToEnd(setup);
    }

    fs::path file(const std::string& name) const { return directory_ / name; }

    /* All pictures of a recording. */
    std::vector<Shot> decode(const std::string& name) const {
        const PicturePipeline pipeline("filesrc location=" + file(name).string() +
                                       " ! matroskademux ! vp8dec ! videoconvert ! "
                                       "video/x-raw,format=BGRx");
        gst_element_set_state(pipeline.pipeline(), GST_STATE_PLAYING);
        std::vector<Shot> shots;
        while (std::optional<Shot> shot = pipeline.next()) {
            shots.push_back(std::move(*shot));
        }
        return shots;
    }

    static void expectColor(const Shot& shot, int x, int y, Color expected) {
        const Color color = colorAt(shot, x, y);
        EXPECT_NEAR(color.red, expected.red, kLossy);
        EXPECT_NEAR(color.green, expected.green, kLossy);
        EXPECT_NEAR(color.blue, expected.blue, kLossy);
    }

  private:
    fs::path directory_;
};

TEST_F(LaunchTest, DescriptionNamesEachPropertyAndWhenItCanBeChanged) {
    const ChildResult result = run(GST_INSPECT, "qorcapturesrc");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    for (const char* const name :
         {"  monitor  ", "  window  ", "  excluded-windows  ", "  width  ", "  height  ",
          "  framerate  ", "changeable in NULL, READY, PAUSED or PLAYING state",
          "changeable only in NULL or READY state", "Source/Video", "format: BGRx"}) {
        EXPECT_THAT(result.output, HasSubstr(name));
    }
}

TEST_F(LaunchTest, RecordingHasTheRateAndTheColoursOfTheScreen) {
    openWindow(kGreen);
    const ChildResult result =
        run(GST_LAUNCH,
            "-q qorcapturesrc num-buffers=30 ! videoconvert ! vp8enc deadline=1 ! "
            "webmmux ! filesink location=out.webm");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const std::vector<Shot> shots = decode("out.webm");
    ASSERT_EQ(shots.size(), 30U);
    for (std::size_t at = 0; at < shots.size(); ++at) {
        expectColor(shots[at], kWindowArea.x + 80, kWindowArea.y + 60, kGreen);
        if (at > 0) {  // whole milliseconds in the file
            EXPECT_GE(shots[at].time, shots[at - 1].time + 32 * GST_MSECOND);
        }
    }
    EXPECT_EQ(shots[0].width, kWidth);
    EXPECT_EQ(shots[0].height, kHeight);
}

TEST_F(LaunchTest, FailureEndsTheLaunchWithTheReason) {
    const ChildResult result = run(GST_LAUNCH, "qorcapturesrc monitor=7 ! fakesink");
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("There is no monitor 7: there is only monitor 0."));
}

TEST_F(LaunchTest, RecordScriptLeavesWindowsOutAndEndsTheFileWhenInterrupted) {
    const xcb_window_t secret = openWindow(kRed);
    painter().fill({400, 300, 200, 160}, kGreen);
    painter().sync();
    // A session of its own, so that the interruption reaches all of it, as Ctrl-C does.
    ChildProgram script(
        {"setsid", RECORD_SCRIPT, file("out.webm").string(), std::to_string(secret)},
        {{"DISPLAY", display()}});
    const auto hasPictures = [&] {
        return fs::exists(file("out.webm")) && fs::file_size(file("out.webm")) > 1000;
    };
    ASSERT_TRUE(eventually([&] { return hasPictures() || script.hasEnded(); }));
    ASSERT_FALSE(script.hasEnded()) << script.output();
    kill(-script.pid(), SIGINT);
    ASSERT_TRUE(eventually([&] { return script.hasEnded(); }));
    const std::vector<Shot> shots = decode("out.webm");
    ASSERT_FALSE(shots.empty());
    for (const Shot& shot : shots) {
        expectColor(shot, 500, 380, kGreen);
        EXPECT_FALSE(shows(shot, kRed, kLossy));
    }
}

TEST_F(LaunchTest, RecordScriptThatFailsLeavesNoFile) {
    const ChildResult result = run(RECORD_SCRIPT, "-m 5 out.webm");
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("There is no monitor 5"));
    EXPECT_FALSE(fs::exists(file("out.webm")));
}

TEST_F(LaunchTest, RecordScriptTellsItsUsageWhenNoFileIsNamed) {
    const ChildResult result = run(RECORD_SCRIPT, "");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, HasSubstr("usage: record_webm.sh"));
}

}  // namespace
