#include <png.h>

#include <nlohmann/json.hpp>

#include "bilinear_reference.h"
#include "capmgr_fixture.h"
#include "live_scene.h"
#include "painter.h"
#include "xvfb_server.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/* The root window as another program reads it. */
Picture independentShot(const ChildSetup& setup, const fs::path& file) {
    const ChildResult result = runToEnd(setup);
    EXPECT_EQ(result.status, 0) << result.errors;
    return readPicture(file);
}

class ShotTest : public CapmgrTest {
  protected:
    ChildSetup import(const std::string& display, const fs::path& file) const {
        ChildSetup setup = program("/usr/bin/import", display);
        setup.command.insert(setup.command.end(), {"-window", "root", file.string()});
        return setup;
    }
};

TEST_F(ShotTest, EqualsAnIndependentGrabToThePixel) {
    const XvfbServer server("1920x1080x24");
    const PaintedScene scene(server.display());
    const ChildResult result = runCapmgr(server.display(), {"shot", "shot.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const Picture expected =
        independentShot(import(server.display(), file("i.png")), file("i.png"));
    const Picture shot = readPicture(file("shot.png"));
    EXPECT_EQ(shot.width, 1920U);
    EXPECT_EQ(shot.height, 1080U);
    EXPECT_EQ(greatestDifference(shot, expected), 0);
}

TEST_F(ShotTest, SmallerSizeIsTheBilinearReductionOfTheWhole) {
    const XvfbServer server("1920x1080x24");
    const PaintedScene scene(server.display());
    runCapmgr(server.display(), {"shot", "whole.png"});
    const ChildResult result =
        runCapmgr(server.display(), {"shot", "--size", "1280x720", "small.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const Picture expected = scaledBilinearly(readPicture(file("whole.png")), 1280, 720);
    EXPECT_LE(greatestDifference(readPicture(file("small.png")), expected), 1);
}

TEST_F(ShotTest, PictureHasEightBitRgb) {
    const XvfbServer server("640x480x24");
    const PaintedScene scene(server.display());
    runCapmgr(server.display(), {"shot", "shot.png"});
    const Picture shot = readPicture(file("shot.png"));
    EXPECT_EQ(shot.bitDepth, 8);
    EXPECT_EQ(shot.colorType, PNG_COLOR_TYPE_RGB);
}

TEST_F(ShotTest, ScreenOfOneColourGivesItsPicture) {
    const XvfbServer server("640x480x24");
    const ChildResult result = runCapmgr(server.display(), {"shot", "shot.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const Picture expected =
        independentShot(import(server.display(), file("i.png")), file("i.png"));
    EXPECT_EQ(greatestDifference(readPicture(file("shot.png")), expected), 0);
}

TEST_F(ShotTest, LeavesThePictureAndNothingElse) {
    const XvfbServer server("640x480x24");
    const PaintedScene scene(server.display());
    const ChildResult result = runCapmgr(server.display(), {"shot", "shot.png"});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, file("shot.png").string() + "  640x480\n");
    EXPECT_THAT(names(), ElementsAre("shot.png"));
}

TEST_F(ShotTest, ReplacesAFileThatIsThere) {
    const XvfbServer server("640x480x24");
    const PaintedScene scene(server.display());
    makeFile("shot.png", "what was there before");
    runCapmgr(server.display(), {"shot", "shot.png"});
    EXPECT_EQ(readPicture(file("shot.png")).width, 640U);
}

TEST_F(ShotTest, WritesThroughASymbolicLink) {
    const XvfbServer server("640x480x24");
    const PaintedScene scene(server.display());
    makeFile("target.png", "");
    fs::create_symlink("target.png", file("link.png"));
    runCapmgr(server.display(), {"shot", "link.png"});
    EXPECT_TRUE(fs::is_symlink(file("link.png")));
    EXPECT_EQ(readPicture(file("target.png")).width, 640U);
}

TEST_F(ShotTest, JsonTellsWhatWasWritten) {
    const XvfbServer plain("640x480x24");
    const LiveScene scene(plain.display());
    const ChildResult result =
        runCapmgr(plain.display(), {"shot", "--json", "--size", "64x48", "a.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto shot = nlohmann::json::parse(result.output);
    EXPECT_EQ(shot["path"], file("a.png").string());
    EXPECT_EQ(shot["width"], 64);
    EXPECT_EQ(shot["height"], 48);
}

}  // namespace
