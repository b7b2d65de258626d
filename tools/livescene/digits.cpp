#include "digits.h"

#include <algorithm>
#include <array>

namespace {

/* A segment in cells of a digit that is 4 cells wide and 7 high. */
struct Segment {
    int x, y, width, height;
};

constexpr std::array<Segment, 7> kSegments{{
    {0, 0, 4, 1},  // top
    {3, 0, 1, 4},  // upper right
    {3, 3, 1, 4},  // lower right
    {0, 6, 4, 1},  // bottom
    {0, 3, 1, 4},  // lower left
    {0, 0, 1, 4},  // upper left
    {0, 3, 4, 1},  // middle
}};

// Bit n lights kSegments[n].
constexpr std::array<unsigned int, 10> kLit{0x3F, 0x06, 0x5B, 0x4F, 0x66,
                                            0x6D, 0x7D, 0x07, 0x7F, 0x6F};

constexpr int kDigitAdvance = 5;  // cells, the gap included
constexpr int kDigitHeight = 7;

}  // namespace

std::vector<xcb_rectangle_t> digitRectangles(std::uint64_t number, unsigned int count,
                                             const xcb_rectangle_t& area) {
    const int cells = static_cast<int>(count) * kDigitAdvance - 1;
    const int cell = std::max(1, std::min(area.width / cells, area.height / kDigitHeight));
    int left = area.x + (area.width - cell * cells) / 2 + cell * cells;
    const int top = area.y + (area.height - cell * kDigitHeight) / 2;
    std::vector<xcb_rectangle_t> rectangles;
    for (unsigned int digit = 0; digit < count; ++digit, number /= 10) {
        left -= cell * (digit == 0 ? kDigitAdvance - 1 : kDigitAdvance);
        for (std::size_t index = 0; index < kSegments.size(); ++index) {
            if ((kLit[number % 10] >> index & 1U) == 0) {
                continue;
            }
            const Segment& segment = kSegments[index];
            rectangles.push_back({static_cast<std::int16_t>(left + segment.x * cell),
                                  static_cast<std::int16_t>(top + segment.y * cell),
                                  static_cast<std::uint16_t>(segment.width * cell),
                                  static_cast<std::uint16_t>(segment.height * cell)});
        }
    }
    return rectangles;
}
