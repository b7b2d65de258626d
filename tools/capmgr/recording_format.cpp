#include "recording_format.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <filesystem>
#include <vector>

#include "option_values.h"

namespace {

using NamedValue = std::pair<const char*, const char*>;

// No encoder may put frames into another order: the file must be whole up to the newest one at any
// time, and a frame's duration is known when the next one comes.
constexpr std::array<NamedValue, 2> kH264Options{{{"preset", "veryfast"}, {"bf", "0"}}};
// Its threads wait for each other by spinning, which on a busy machine makes it many times slower.
constexpr std::array<NamedValue, 6> kVp8Options{{
    {"threads", "1"},
    {"deadline", "realtime"},
    {"cpu-used", "8"},
    {"static-thresh", "100"},
    {"lag-in-frames", "0"},
    {"auto-alt-ref", "0"},
}};
constexpr std::array<NamedValue, 7> kVp9Options{{
    {"deadline", "realtime"},
    {"cpu-used", "8"},
    {"lag-in-frames", "0"},
    {"auto-alt-ref", "0"},
    {"row-mt", "1"},
    {"tile-columns", "2"},
    {"tune-content", "screen"},
}};
constexpr std::array<NamedValue, 2> kFfv1Options{{{"level", "3"}, {"g", "1"}}};

constexpr Codec kH264{.name = "h264",
                      .encoder = "libx264",
                      .pixels = AV_PIX_FMT_YUV420P,
                      .hasEvenSides = true,
                      .crf = {"30", "24", "18"},
                      .options = kH264Options};
// Its bitstream knows BT.601 only, whatever the container says.
constexpr Codec kVp8{.name = "vp8",
                     .encoder = "libvpx",
                     .pixels = AV_PIX_FMT_YUV420P,
                     .matrix = AVCOL_SPC_SMPTE170M,
                     .crf = {"40", "20", "8"},
                     .mostBitsPerPixel = 0.25,
                     .options = kVp8Options};
constexpr Codec kVp9{.name = "vp9",
                     .encoder = "libvpx-vp9",
                     .pixels = AV_PIX_FMT_YUV420P,
                     .crf = {"48", "34", "20"},
                     .options = kVp9Options};
constexpr Codec kFfv1{.name = "ffv1",
                      .encoder = "ffv1",
                      .pixels = AV_PIX_FMT_BGR0,
                      .matrix = AVCOL_SPC_RGB,
                      .slices = 4,
                      .options = kFfv1Options};
constexpr Codec kRaw{.name = "raw", .encoder = "wrapped_avframe", .pixels = AV_PIX_FMT_YUV420P};

constexpr std::array<const Codec*, 4> kMkvCodecs{&kH264, &kVp8, &kVp9, &kFfv1};
constexpr std::array<const Codec*, 1> kMp4Codecs{&kH264};
constexpr std::array<const Codec*, 2> kWebmCodecs{&kVp9, &kVp8};
constexpr std::array<const Codec*, 1> kY4mCodecs{&kRaw};

// Both lose a second at most when the process is killed.
constexpr std::array<NamedValue, 1> kMatroskaOptions{{{"cluster_time_limit", "1000"}}};
constexpr std::array<NamedValue, 2> kMp4Options{{
    {"movflags", "empty_moov+default_base_moof+frag_keyframe"},
    {"frag_duration", "1000000"},
}};

constexpr std::array<Container, 4> kContainers{{
    {"mkv", "matroska", true, kMkvCodecs, kMatroskaOptions},
    {"mp4", "mp4", true, kMp4Codecs, kMp4Options},
    {"webm", "webm", true, kWebmCodecs, kMatroskaOptions},
    {"y4m", "yuv4mpegpipe", false, kY4mCodecs, {}},
}};

std::string namesOf(std::span<const Codec* const> codecs) {
    std::vector<std::string> names;
    std::ranges::transform(codecs, std::back_inserter(names),
                           [](const Codec* codec) { return codec->name; });
    return listed(names);
}

const Container* findContainer(const std::string& name) {
    const auto* const found = std::ranges::find(kContainers, name, &Container::name);
    return found == kContainers.end() ? nullptr : found;
}

const Container& containerByOption(const std::string& name) {
    const Container* const container = findContainer(name);
    if (container == nullptr) {
        throw CLI::ValidationError("--format",
                                   fmt::format("'{}' is not {}", name, containerNames()));
    }
    return *container;
}

std::string extensionOf(const std::string& file) {
    const std::string extension = std::filesystem::path(file).extension().string();
    return extension.empty() ? extension : CLI::detail::to_lower(extension.substr(1));
}

const Container& chooseContainer(const std::string& file, const FormatWish& wish) {
    const Container* const named = findContainer(extensionOf(file));
    if (wish.container) {
        const Container& wanted = containerByOption(*wish.container);
        if (named != nullptr && named != &wanted) {
            throw CLI::ValidationError(
                fmt::format("--format {} does not go with the name {}", *wish.container, file));
        }
        return wanted;
    }
    if (file == kStandardOutput) {
        return kContainers.front();
    }
    if (named == nullptr) {
        throw CLI::ValidationError(
            "FILE", fmt::format("the name {} does not end in {}; change it or give --format", file,
                                containerNames()));
    }
    return *named;
}

const Codec& chooseCodec(const Container& container, const FormatWish& wish) {
    if (!wish.codec) {
        return *container.codecs.front();
    }
    const auto isWanted = [&wish](const Codec* codec) { return codec->name == *wish.codec; };
    const auto found = std::ranges::find_if(container.codecs, isWanted);
    if (found == container.codecs.end()) {
        throw CLI::ValidationError(
            "--codec", fmt::format("'{}' is not what goes into {}: {}", *wish.codec, container.name,
                                   namesOf(container.codecs)));
    }
    return **found;
}

Quality chooseQuality(const Codec& codec, const FormatWish& wish) {
    if (!wish.quality) {
        return Quality::Medium;
    }
    const std::string quality = parseChoice("--quality", *wish.quality, {"low", "medium", "high"});
    if (codec.isLossless()) {
        throw CLI::ValidationError("--quality", fmt::format("{} has but one", codec.name));
    }
    if (quality == "low") {
        return Quality::Low;
    }
    return quality == "medium" ? Quality::Medium : Quality::High;
}

}  // namespace

RecordingFormat chooseFormat(const std::string& file, const FormatWish& wish) {
    const Container& container = chooseContainer(file, wish);
    const Codec& codec = chooseCodec(container, wish);
    return {&container, &codec, chooseQuality(codec, wish)};
}

std::string containerNames() {
    std::vector<std::string> names;
    std::ranges::transform(kContainers, std::back_inserter(names), &Container::name);
    return listed(names);
}

std::string codecNames() {
    std::vector<std::string> texts;
    std::ranges::transform(kContainers, std::back_inserter(texts), [](const Container& container) {
        return fmt::format("{} in {}", namesOf(container.codecs), container.name);
    });
    return fmt::format("{}", fmt::join(texts, "; "));
}
