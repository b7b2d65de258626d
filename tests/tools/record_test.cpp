/* What is in a recording. */
#include <cmath>
#include <nlohmann/json.hpp>

#include "live_scene.h"
#include "record_fixture.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kVideoColors = "tv bt709 bt709 bt709";

struct Format {
    const char* file;
    const char* codec;
    const char* pixels;
    const char* colors;
    bool hasRate = true;  // of its own; elsewhere it is guessed from the times
};

void PrintTo(const Format& format, std::ostream* stream) {
    *stream << format.codec << " in " << format.file;
}

class RecordFormatTest : public RecordTest, public testing::WithParamInterface<Format> {};

TEST_P(RecordFormatTest, EveryFrameShowsTheScreen) {
    const Format& format = GetParam();
    const ChildResult result =
        record({"--seconds", "0.6", "--fps", "10", "--codec", format.codec, format.file});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const VideoFacts facts = videoFacts(file(format.file));
    EXPECT_EQ(facts.codec, format.codec);
    EXPECT_EQ(facts.size, "320x240");
    EXPECT_EQ(facts.pixels, format.pixels);
    EXPECT_EQ(facts.colors, format.colors);
    EXPECT_TRUE(facts.rate == "10/1" || !format.hasRate) << facts.rate;
    EXPECT_NEAR(facts.seconds, 0.6, 0.002);
    const std::vector<Picture> frames = decodedFrames(file(format.file));
    EXPECT_EQ(frames.size(), summaryNumber(result.output, "frames"));
    EXPECT_GE(frames.size(), 3U);
    for (const Picture& frame : frames) {
        EXPECT_TRUE(looksLike(colorAt(frame, 70, 70), kRed));
        EXPECT_TRUE(looksLike(colorAt(frame, 200, 70), kGreen));
        EXPECT_TRUE(looksLike(colorAt(frame, 200, 200), kBlack));
    }
}

const Format kFormats[] = {
    {"a.mkv", "h264", "yuv420p", kVideoColors},
    {"b.mkv", "ffv1", "bgr0", "pc gbr iec61966-2-1 bt709"},
    {"a.mp4", "h264", "yuv420p", kVideoColors, false},
    {"a.webm", "vp9", "yuv420p", kVideoColors},
    {"b.webm", "vp8", "yuv420p", "tv smpte170m bt709 bt709"},
};

INSTANTIATE_TEST_SUITE_P(All, RecordFormatTest, testing::ValuesIn(kFormats), [](const auto& test) {
    const std::string name = test.param.file;
    return std::string(test.param.codec) + "_" + name.substr(2);
});

TEST_F(RecordTest, LosslessRecordingEqualsAShot) {
    runCapmgr(server.display(), {"shot", "shot.png"});
    record({"--seconds", "0.3", "--codec", "ffv1", "a.mkv"});
    const Picture shot = readPicture(file("shot.png"));
    const std::vector<Picture> frames = decodedFrames(file("a.mkv"));
    ASSERT_FALSE(frames.empty());
    for (const Picture& frame : frames) {
        EXPECT_EQ(greatestDifference(frame, shot), 0);
    }
}

std::uint8_t rounded(double value) {
    return static_cast<std::uint8_t>(std::lround(value));
}

// BT.709 in the limited range.
TEST_F(RecordTest, RawRecordingHasAFrameForEveryPlaceOnTheGridWithExactColors) {
    record({"--seconds", "0.6", "--fps", "10", "a.y4m"});
    EXPECT_EQ(videoFacts(file("a.y4m")).rate, "10/1");
    const std::string planes = decodedPlanes(file("a.y4m"));
    constexpr std::size_t kLuma = 320 * 240;
    constexpr std::size_t kFrame = kLuma * 3 / 2;
    ASSERT_EQ(planes.size(), 6 * kFrame);
    const double y = (0.2126 * kRed.red + 0.7152 * kRed.green + 0.0722 * kRed.blue) / 255;
    const double cb = (kRed.blue / 255.0 - y) / 1.8556;
    const double cr = (kRed.red / 255.0 - y) / 1.5748;
    for (std::size_t frame = 0; frame < planes.size(); frame += kFrame) {
        const auto at = [&](std::size_t offset) {
            return static_cast<std::uint8_t>(planes[frame + offset]);
        };
        EXPECT_NEAR(at(70 * 320 + 70), rounded(16 + 219 * y), 1);
        EXPECT_NEAR(at(kLuma + 35 * 160 + 35), rounded(128 + 224 * cb), 1);
        EXPECT_NEAR(at(kLuma * 5 / 4 + 35 * 160 + 35), rounded(128 + 224 * cr), 1);
    }
}

TEST_F(RecordTest, ExcludedWindowIsInNoFrame) {
    record({"--seconds", "0.5", "--codec", "ffv1", "--exclude", std::to_string(green), "a.mkv"});
    const std::vector<Picture> frames = decodedFrames(file("a.mkv"));
    ASSERT_FALSE(frames.empty());
    for (const Picture& frame : frames) {
        EXPECT_FALSE(shows(frame, kGreen));
        EXPECT_EQ(colorAt(frame, 180, 70), kRed);
    }
}

TEST_F(RecordTest, WindowIsAloneAndWholeInEveryFrame) {
    record({"--seconds", "0.5", "--codec", "ffv1", "--window", std::to_string(red), "a.mkv"});
    const std::vector<Picture> frames = decodedFrames(file("a.mkv"));
    ASSERT_FALSE(frames.empty());
    for (const Picture& frame : frames) {
        EXPECT_FALSE(shows(frame, kGreen));
        EXPECT_EQ(colorAt(frame, 180, 70), kRed);
    }
}

struct OddSize {
    const char* file;
    const char* size;
};

// H.264 has even sides: the last column and row are there twice.
TEST_F(RecordTest, OddSizesLoseNothing) {
    client.setRootColor(kRed);
    client.sync();
    for (const auto& [name, size] :
         {OddSize{"a.mp4", "162x122"}, OddSize{"a.webm", "161x121"}, OddSize{"a.y4m", "161x121"}}) {
        EXPECT_EQ(record({"--seconds", "0.2", "--size", "161x121", name}).status, 0) << name;
        EXPECT_EQ(videoFacts(file(name)).size, size) << name;
        const std::vector<Picture> frames = decodedFrames(file(name));
        ASSERT_FALSE(frames.empty()) << name;
        const Picture& last = frames.back();
        const Color corner = colorAt(last, last.width - 1, last.height - 1);
        EXPECT_TRUE(looksLike(corner, colorAt(last, last.width - 9, last.height - 9))) << name;
        EXPECT_GT(corner.red, 175) << name;
    }
}

TEST_F(RecordTest, SmallestSizeCanBeRecorded) {
    for (const char* const name : {"a.mp4", "a.webm", "a.y4m"}) {
        const ChildResult result = record({"--seconds", "0.1", "--size", "1x1", name});
        EXPECT_EQ(result.status, 0) << result.errors;
    }
    EXPECT_EQ(record({"--seconds", "0.1", "--size", "1x1", "--codec", "ffv1", "b.mkv"}).status, 0);
}

TEST_F(RecordTest, FramesFollowEachOtherWithoutGapsForTheWholeTime) {
    for (const char* const name : {"a.mp4", "a.webm"}) {
        record({"--seconds", "0.4", name});
        const std::vector<PacketTime> times = packetTimes(file(name));
        ASSERT_GE(times.size(), 2U) << name;
        EXPECT_EQ(times.front().at, 0.0) << name;
        for (std::size_t index = 1; index < times.size(); ++index) {
            EXPECT_GT(times[index].at, times[index - 1].at) << name;
        }
        EXPECT_NEAR(times.back().at + times.back().duration, 0.4, 0.04) << name;
        EXPECT_NEAR(videoFacts(file(name)).seconds, 0.4, 0.002) << name;
    }
}

TEST_F(RecordTest, SummaryTellsWhatWasRecorded) {
    const ChildResult result = record({"--seconds", "0.3", "a.mkv"});
    EXPECT_THAT(result.output, ContainsRegex("frames      [0-9]+ \\([0-9]+ dropped, [0-9]+ "
                                             "missed\\)\nrate        [0-9.]+ frames/s\n"
                                             "duration    0\\.3 s\nsize        [0-9.]+ "));
    EXPECT_THAT(result.output, HasSubstr("\nformat      h264 in mkv, 320x240\nfile        " +
                                         file("a.mkv").string() + "\n"));
    EXPECT_THAT(names(), ElementsAre("a.mkv"));
}

TEST_F(RecordTest, SummaryForProgramsIsJson) {
    const ChildResult result = record({"--seconds", "0.3", "--json", "a.webm"});
    const nlohmann::json summary = nlohmann::json::parse(result.output);
    EXPECT_EQ(summary["path"], file("a.webm").string());
    EXPECT_EQ(summary["codec"], "vp9");
    EXPECT_EQ(summary["width"], 320);
    EXPECT_EQ(summary["bytes"], std::filesystem::file_size(file("a.webm")));
    EXPECT_EQ(summary["frames"], packetTimes(file("a.webm")).size());
    EXPECT_DOUBLE_EQ(summary["seconds"], 0.3);
    EXPECT_TRUE(summary["dropped"].is_number_unsigned());
    EXPECT_TRUE(summary["missed"].is_number_unsigned());
}

TEST_F(RecordTest, TerminalShowsABarWithFramesSizeDroppedAndProcessorUse) {
    ChildSetup setup = capmgr(server.display(), {"record", "--seconds", "0.5", "a.mkv"});
    setup.output = OutputKind::Terminal;
    EXPECT_THAT(runToEnd(setup).output,
                ContainsRegex(
                    "\r\\[\x1b\\[32m#+\x1b\\[0m-*\\] 0\\.[0-9] of 0\\.5 s, [0-9]+ frames, [0-9.]+ "
                    "[a-zA-Z]+, [0-9]+ dropped, [0-9]+ % processor"));
}

}  // namespace
