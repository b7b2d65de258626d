#include "video.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "child_process.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

Json probe(const fs::path& file, const std::string& entries) {
    const ChildResult result = runToEnd({{"/usr/bin/ffprobe", "-v", "error", "-show_entries",
                                          entries, "-of", "json", file.string()},
                                         "",
                                         file.parent_path()});
    EXPECT_EQ(result.status, 0) << result.errors;
    return Json::parse(result.output, nullptr, false);
}

std::string decode(const fs::path& file, const std::string& pixels) {
    const ChildResult result = runToEnd(
        {{"/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-i", file.string(), "-fps_mode",
          "passthrough", "-enc_time_base", "-1", "-f", "rawvideo", "-pix_fmt", pixels, "-"},
         "",
         file.parent_path()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    return result.output;
}

double numberIn(const Json& object, const char* name) {
    return std::strtod(object.value(name, "").c_str(), nullptr);
}

}  // namespace

VideoFacts videoFacts(const fs::path& file) {
    const Json facts = probe(file, "stream:format=duration");
    if (!facts.contains("streams") || facts["streams"].size() != 1) {
        return {};
    }
    const Json& stream = facts["streams"][0];
    const auto text = [&stream](const char* name) { return stream.value(name, std::string()); };
    return {
        text("codec_name"),
        std::to_string(stream.value("width", 0)) + "x" + std::to_string(stream.value("height", 0)),
        text("pix_fmt"),
        text("color_range") + " " + text("color_space") + " " + text("color_transfer") + " " +
            text("color_primaries"),
        text("r_frame_rate"),
        numberIn(facts["format"], "duration")};
}

std::vector<PacketTime> packetTimes(const fs::path& file) {
    const Json facts = probe(file, "packet=pts_time,duration_time");
    std::vector<PacketTime> times;
    for (const Json& packet : facts["packets"]) {
        times.push_back({numberIn(packet, "pts_time"), numberIn(packet, "duration_time")});
    }
    return times;
}

std::vector<Picture> decodedFrames(const fs::path& file) {
    const VideoFacts facts = videoFacts(file);
    const std::string::size_type cross = facts.size.find('x');
    const auto width = static_cast<std::uint32_t>(std::stoul(facts.size.substr(0, cross)));
    const auto height = static_cast<std::uint32_t>(std::stoul(facts.size.substr(cross + 1)));
    const std::string bytes = decode(file, "rgb24");
    const std::size_t frameSize = std::size_t{width} * height * 3;
    std::vector<Picture> frames;
    for (std::size_t at = 0; at + frameSize <= bytes.size(); at += frameSize) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        frames.push_back(
            {width, height, 8, 0, {from, from + static_cast<std::ptrdiff_t>(frameSize)}});
    }
    return frames;
}

std::string decodedPlanes(const fs::path& file) {
    return decode(file, "yuv420p");
}

bool looksLike(Color one, Color other) {
    constexpr int kTolerance = 6;
    return std::max({std::abs(one.red - other.red), std::abs(one.green - other.green),
                     std::abs(one.blue - other.blue)}) <= kTolerance;
}
