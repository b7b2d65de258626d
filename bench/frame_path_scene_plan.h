// What is on the screen whose sharing is measured, and how it changes: where everything is after
// so many changes, and what a correct frame of it holds.
#ifndef QOR_BENCH_FRAME_PATH_SCENE_PLAN_H
#define QOR_BENCH_FRAME_PATH_SCENE_PLAN_H

#include <cstdint>
#include <string>
#include <vector>

#include "frames.h"

namespace qor::bench {

// A window as large as the screen lies under all others and shows a picture.
enum class SceneKind {
    still,
    moving,         // a square goes over the picture
    full,           // the picture is another one at every change
    twoWindows,     // two plain windows on the still picture
    twoAndMoving,   // another one moves beneath the first of them
    singleStill,    // one window with a picture of its own
    singleChanging  // and another picture at every change
};

const char* nameOf(SceneKind kind);

struct ScenePlan {
    SceneKind kind;
    Size screen;
    // The number of each change is shown in the corner, and changes come at irregular times, about
    // ten a second; otherwise 30 a second, almost evenly.
    bool isNumbered;
};

// Pixels of the screen.
struct Part {
    int x;
    int y;
    int width;
    int height;
};

constexpr int kPictures = 2;  // that scenes go through
constexpr int kSquareSide = 256;
constexpr int kNumberSide = 16;  // of the corner that shows numbers
constexpr Part kOnTop[] = {{100, 100, 400, 300}, {700, 400, 400, 300}};
constexpr uint32_t kOnTopColours[] = {0x702020, 0x202070};
constexpr uint32_t kBeneathColour = 0x207020;
constexpr Part kSingle = {560, 240, 800, 600};

// Where the square, or the window beneath, is after so many changes.
Part squareAfter(uint32_t changes, Size screen);
Part beneathAfter(uint32_t changes);

// The colour that shows a number, told from all others of a scene by its highest bit; the number of
// any other is 0.
constexpr uint32_t colourOfNumber(uint32_t number) {
    return 0x800000 | (number & 0x7FFFFF);
}
constexpr uint32_t numberOfColour(uint32_t colour) {
    return (colour & 0x800000) != 0 ? colour & 0x7FFFFF : 0;
}

// Packed rows of 0x00RRGGBB.
using Picture = std::vector<uint32_t>;

// Blocks of many colours, none of them plain; the same for the same seed.
Picture makePicture(Size size, uint32_t seed);

// Seeds of the pictures.
uint32_t screenSeed(uint32_t changes);
uint32_t singleSeed(uint32_t changes);
constexpr uint32_t kSquareSeed = 77;

}  // namespace qor::bench

#endif
