#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "randr_client.h"
#include "xvfb_server.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using RunTest = CapmgrTest;

TEST_F(RunTest, WritesThreePicturesOfTheFrameSize) {
    const XvfbServer server("800x600x24");
    const LiveScene scene(server.display());
    const ChildResult result = runCapmgr(
        server.display(), {"run", "--seconds", "1", "--size", "400x300", "--out", "made/here"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(names(), ElementsAre("made", "made/here", "made/here/first.png",
                                     "made/here/last.png", "made/here/middle.png"));
    for (const char* const name : {"first.png", "middle.png", "last.png"}) {
        const Picture picture = readPicture(file("made/here") / name);
        EXPECT_EQ(picture.width, 400U) << name;
        EXPECT_EQ(picture.height, 300U) << name;
    }
}

TEST_F(RunTest, PicturesOfAMovingSceneDiffer) {
    const XvfbServer server("800x600x24");
    const LiveScene scene(server.display());
    runCapmgr(server.display(), {"run", "--seconds", "1", "--out", "out"});
    const Picture first = readPicture(file("out/first.png"));
    const Picture middle = readPicture(file("out/middle.png"));
    const Picture last = readPicture(file("out/last.png"));
    EXPECT_GT(greatestDifference(first, middle), 0);
    EXPECT_GT(greatestDifference(middle, last), 0);
    EXPECT_GT(greatestDifference(first, last), 0);
}

// Upper bounds are exact, for the pace must not be exceeded; lower ones leave room for a machine
// that is busy with something else.
TEST_F(RunTest, FrameCountFollowsTheRateAskedFor) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    for (const int rate : {5, 10, 20}) {
        const ChildResult result =
            runCapmgr(server.display(), {"run", "--seconds", "2", "--fps", std::to_string(rate)});
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_GE(summaryNumber(result.output, "frames"), rate);
        // The first three frames follow each other without a pause.
        EXPECT_LE(summaryNumber(result.output, "frames"), 2 * rate + 4);
    }
}

TEST_F(RunTest, SummaryTellsWhatWasCaptured) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result = runCapmgr(server.display(), {"run", "--seconds", "1"});
    const std::string number = "[0-9]+\\.[0-9]";
    EXPECT_THAT(result.output, ContainsRegex("\nframes      [0-9]+ \\([0-9]+ missed\\)\n"));
    EXPECT_THAT(result.output, ContainsRegex("\nrate        " + number + " frames/s\n"));
    EXPECT_THAT(result.output, ContainsRegex("\nlatency     median " + number + " ms, p99 " +
                                             number + " ms, max " + number + " ms\n"));
    EXPECT_THAT(result.output, HasSubstr("\nframe size  640x480\nmonitor     0 ("));
    const std::string directory = file("captures").string();
    EXPECT_THAT(result.output, HasSubstr("\npictures    " + directory + "/first.png\n" +
                                         "            " + directory + "/middle.png\n" +
                                         "            " + directory + "/last.png\n"));
}

TEST_F(RunTest, SlowestFrameIsNotFasterThanTheMedian) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const std::string output = runCapmgr(server.display(), {"run", "--seconds", "1"}).output;
    const auto valueAfter = [&output](const std::string& label) {
        return std::strtod(output.c_str() + output.find(label) + label.size(), nullptr);
    };
    EXPECT_GT(valueAfter("median "), 0.0);
    EXPECT_LE(valueAfter("median "), valueAfter("p99 "));
    EXPECT_LE(valueAfter("p99 "), valueAfter("max "));
}

TEST_F(RunTest, ScreenOfOneColourGivesAboutAFrameASecond) {
    const XvfbServer server("640x480x24");
    const ChildResult result = runCapmgr(server.display(), {"run", "--seconds", "3"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_GE(summaryNumber(result.output, "frames"), 2);
    EXPECT_LE(summaryNumber(result.output, "frames"), 4);
    EXPECT_EQ(readPicture(file("captures/last.png")).width, 640U);
}

TEST_F(RunTest, FrameTracesAreNotShownUnlessAskedFor) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const auto errorsAt = [&](const char* level) {
        return runCapmgr(server.display(), {"--trace", level, "run", "--seconds", "0.3"}).errors;
    };
    EXPECT_EQ(errorsAt("0"), "");
    EXPECT_THAT(errorsAt("2"), HasSubstr("[KXSS]CCaptureMac::DoCapture()... End!"));
    EXPECT_THAT(errorsAt("2"), Not(HasSubstr("CCaptureMac::DoCapture()... Begin!")));
    EXPECT_THAT(errorsAt("3"), HasSubstr("CCaptureMac::DoCapture()... Begin!"));
}

TEST_F(RunTest, ScreenOfAnotherSizeEndsTheRunWithItsPicturesAndFails) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(capmgr(server.display(), {"run", "--seconds", "600"}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    RandrClient(server.display()).setMode(modeOfSize(320, 240));
    const ChildResult result = child.finish();
    expectRefusal(result, 1, "monitor 0 changed its size or place while it was captured");
    EXPECT_THAT(result.output, HasSubstr("\npictures "));
    EXPECT_EQ(readPicture(file("captures/last.png")).width, 640U);
}

TEST_F(RunTest, JsonIsOneDocumentWithTheSummary) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    const ChildResult result =
        runCapmgr(server.display(), {"run", "--json", "--seconds", "1.5", "--fps", "10"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto run = nlohmann::json::parse(result.output);
    EXPECT_GE(run["frames"], 1);
    EXPECT_GT(run["latency_median_ms"], 0.0);
    EXPECT_LE(run["latency_median_ms"], run["latency_max_ms"]);
    EXPECT_EQ(run["width"], 640);
    EXPECT_EQ(run["monitor"], 0);
    EXPECT_EQ(run["pictures"][2], file("captures/last.png").string());
}

}  // namespace
