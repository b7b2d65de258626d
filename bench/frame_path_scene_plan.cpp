#include "frame_path_scene_plan.h"

namespace qor::bench {

namespace {

constexpr int kBlockSide = 48;

uint32_t scrambled(uint32_t value) {
    value = (value ^ (value >> 16)) * 0x7FEB352D;
    value = (value ^ (value >> 15)) * 0x846CA68B;
    return value ^ (value >> 16);
}

// Back and forth over 0..range in steps.
int swing(uint32_t changes, int step, int range) {
    const auto turn = static_cast<uint32_t>(2 * range);
    const auto at = static_cast<int>(changes * static_cast<uint32_t>(step) % turn);
    return at <= range ? at : 2 * range - at;
}

}  // namespace

const char* nameOf(SceneKind kind) {
    switch (kind) {
        case SceneKind::still:
            return "static";
        case SceneKind::moving:
            return "moving";
        case SceneKind::full:
            return "full motion";
        case SceneKind::twoWindows:
            return "two windows";
        case SceneKind::twoAndMoving:
            return "window moving beneath";
        case SceneKind::singleStill:
            return "one window, static";
        case SceneKind::singleChanging:
            return "one window, in motion";
    }
    return "";
}

Part squareAfter(uint32_t changes, Size screen) {
    return {swing(changes, 16, screen.width - kSquareSide),
            swing(changes, 9, screen.height - kSquareSide), kSquareSide, kSquareSide};
}

Part beneathAfter(uint32_t changes) {
    return {50 + swing(changes, 8, 300), 180, 300, 200};
}

Picture makePicture(Size size, uint32_t seed) {
    Picture picture;
    picture.reserve(size.bytes() / kBytesPerPixel);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const auto block = static_cast<uint32_t>(y / kBlockSide * 4096 + x / kBlockSide);
            const auto shade = static_cast<uint32_t>((x * 5 ^ y * 3) & 0x1F);
            picture.push_back((scrambled(block ^ (seed << 24)) & 0x5F5F5F) + shade * 0x010101);
        }
    }
    return picture;
}

uint32_t screenSeed(uint32_t changes) {
    return 1 + changes % kPictures;
}

uint32_t singleSeed(uint32_t changes) {
    return 11 + changes % kPictures;
}

}  // namespace qor::bench
