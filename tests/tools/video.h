/* Recordings as another program reads them. */
#ifndef TESTS_TOOLS_VIDEO_H
#define TESTS_TOOLS_VIDEO_H

#include <filesystem>
#include <string>
#include <vector>

#include "picture.h"

/* What a file says of its video. */
struct VideoFacts {
    std::string codec;
    std::string size;  // WIDTHxHEIGHT
    std::string pixels;
    std::string colors;  // range, matrix, transfer, primaries
    std::string rate;
    double seconds = 0.0;
};

/* All empty when the file holds no video. */
VideoFacts videoFacts(const std::filesystem::path& file);

struct PacketTime {
    double at = 0.0;  // seconds
    double duration = 0.0;
};
std::vector<PacketTime> packetTimes(const std::filesystem::path& file);

/* Every frame, in the colours that the file's own marks ask for. A file that cannot be decoded
 * without a complaint fails the test. */
std::vector<Picture> decodedFrames(const std::filesystem::path& file);

/* The bytes of every frame in planes of 8-bit luma and quartered chroma, as they are in the file.
 */
std::string decodedPlanes(const std::filesystem::path& file);

/* Whether two colours look the same, for what is compressed with losses. */
bool looksLike(Color one, Color other);

#endif
