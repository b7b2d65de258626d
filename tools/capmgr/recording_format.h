/*
 * What kinds of recordings there are: containers, and the codecs that each can hold.
 *
 * Nothing here looks at the machine: whether its FFmpeg has an encoder is found out by
 * VideoEncoder.
 */
#ifndef CAPMGR_RECORDING_FORMAT_H
#define CAPMGR_RECORDING_FORMAT_H

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "ffmpeg_objects.h"

using NamedValues = std::span<const std::pair<const char*, const char*>>;

enum class Quality { Low, Medium, High };

struct Codec {
    const char* name = nullptr;     // as the user says it
    const char* encoder = nullptr;  // as FFmpeg has it
    AVPixelFormat pixels = AV_PIX_FMT_NONE;
    AVColorSpace matrix = AVCOL_SPC_BT709;  // or BT.601; RGB for pixels of it
    bool hasEvenSides = false;              // the encoder takes no others
    const char* crf[3] = {};                // constant rate factor by quality; null: lossless
    double mostBitsPerPixel = 0.0;          // that a constant quality may take; 0: any number
    int slices = 0;  // of a picture, for as many threads; 0: the encoder's choice
    NamedValues options = {};

    bool isLossless() const { return crf[0] == nullptr; }
};

struct Container {
    const char* name;                      // as the user says it, and the extension of its files
    const char* muxer;                     // as FFmpeg has it
    bool hasTimes;                         // of frames; else frame n is at n / rate
    std::span<const Codec* const> codecs;  // the first is the usual one
    NamedValues options;
};

struct RecordingFormat {
    const Container* container = nullptr;
    const Codec* codec = nullptr;
    Quality quality = Quality::Medium;
};

/* What the user said about the format; what is absent follows from the file's name. */
struct FormatWish {
    std::optional<std::string> container;
    std::optional<std::string> codec;
    std::optional<std::string> quality;
};

/* The name of the file that stands for standard output. */
inline constexpr const char* kStandardOutput = "-";

/* Throws CLI::ValidationError when names are unknown or do not go together. */
RecordingFormat chooseFormat(const std::string& file, const FormatWish& wish);

/* "mkv, mp4, webm or y4m" */
std::string containerNames();

/* "h264, vp8, vp9 or ffv1 in mkv; ..." */
std::string codecNames();

#endif
