#include "scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "digits.h"

namespace {

constexpr std::uint16_t kTitleHeight = 24;
constexpr Color kTitleColor = 0x2B3A55;
constexpr Color kTitleText = 0xFFFFFF;

xcb_rectangle_t rectangle(double x, double y, double width, double height) {
    return {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
            static_cast<std::uint16_t>(std::max(width, 1.0)),
            static_cast<std::uint16_t>(std::max(height, 1.0))};
}

/* Where something is that moves to and fro over `range` with `step` a frame. */
double toAndFro(std::uint64_t frame, double step, double range) {
    const double way = std::fmod(static_cast<double>(frame) * step, 2.0 * range);
    return way < range ? way : 2.0 * range - way;
}

}  // namespace

Scene::Scene(Canvas& canvas) : canvas_(canvas) {
    drawBackground();
    addPane("Frame counter", 0, 0, 0x101820, paintCounter);
    addPane("Bouncing ball", 1, 0, 0xF4EFE6, paintBall);
    addPane("Levels", 0, 1, 0x16281C, paintBars);
    addPane("Stripes", 1, 1, 0xFFFFFF, paintStripes);
}

void Scene::draw(std::uint64_t frame) {
    for (const Pane& pane : panes_) {
        canvas_.fill(pane.picture, pane.background, pane.content);
        drawTitle(pane);
        pane.paint(canvas_, pane, frame);
        const auto height = static_cast<std::uint16_t>(pane.content.height + kTitleHeight);
        canvas_.present(pane.window, pane.picture, pane.content.width, height);
    }
    canvas_.finishDrawing();
}

// Bands from dark to light: also where no window moves, the picture is not of one colour.
void Scene::drawBackground() {
    constexpr int kBands = 24;
    const xcb_pixmap_t picture = canvas_.createPicture(canvas_.width(), canvas_.height());
    const double height = static_cast<double>(canvas_.height()) / kBands;
    for (unsigned int band = 0; band < kBands; ++band) {
        const Color color =
            ((0x20U + band * 3) << 16) | ((0x48U + band * 4) << 8) | (0x60U + band * 5);
        canvas_.fill(picture, color,
                     rectangle(0, band * height, canvas_.width(), std::ceil(height)));
    }
    canvas_.presentAsBackground(picture);
}

// Two by two, a sixteenth of the screen apart from each other and from the edges.
void Scene::addPane(const std::string& title, int column, int row, Color background,
                    void (*paint)(Canvas&, const Pane&, std::uint64_t)) {
    const double width = canvas_.width();
    const double height = canvas_.height();
    const xcb_rectangle_t area =
        rectangle(width / 16 + column * width * 7.5 / 16, height / 16 + row * height * 7.5 / 16,
                  width * 6.5 / 16, std::max(height * 6.5 / 16, kTitleHeight + 1.0));
    const auto content = static_cast<std::uint16_t>(area.height - kTitleHeight);
    panes_.push_back({canvas_.createWindow(title, area),
                      canvas_.createPicture(area.width, area.height),
                      title,
                      {0, static_cast<std::int16_t>(kTitleHeight), area.width, content},
                      background,
                      paint});
}

void Scene::drawTitle(const Pane& pane) {
    canvas_.fill(pane.picture, kTitleColor,
                 xcb_rectangle_t{0, 0, pane.content.width, kTitleHeight});
    // NOLINTNEXTLINE(readability-suspicious-call-argument): the text's colour, then the title's
    canvas_.text(pane.picture, 8, 16, kTitleText, kTitleColor, pane.title);
}

void Scene::paintCounter(Canvas& canvas, const Pane& pane, std::uint64_t frame) {
    const xcb_rectangle_t& area = pane.content;
    const xcb_rectangle_t inner = rectangle(area.width * 0.08, area.y + area.height * 0.15,
                                            area.width * 0.84, area.height * 0.7);
    canvas.fill(pane.picture, 0x53E88B, digitRectangles(frame, 6, inner));
}

void Scene::paintBall(Canvas& canvas, const Pane& pane, std::uint64_t frame) {
    const xcb_rectangle_t& area = pane.content;
    const double size = std::min(area.width, area.height) / 4.0;
    const double x = toAndFro(frame, area.width / 97.0, area.width - size);
    const double y = area.y + toAndFro(frame, area.height / 61.0, area.height - size);
    canvas.fillEllipse(pane.picture, 0xD1495B, rectangle(x, y, size, size));
}

void Scene::paintBars(Canvas& canvas, const Pane& pane, std::uint64_t frame) {
    constexpr std::size_t kBars = 16;
    const xcb_rectangle_t& area = pane.content;
    const double step = static_cast<double>(area.width) / kBars;
    std::array<xcb_rectangle_t, kBars> bars{};
    for (std::size_t bar = 0; bar < kBars; ++bar) {
        const double phase = static_cast<double>(frame) / 15.0 + static_cast<double>(bar) * 0.7;
        const double level = 0.5 + 0.45 * std::sin(phase * std::numbers::pi / 2);
        bars[bar] = rectangle(static_cast<double>(bar) * step + 2,
                              area.y + area.height * (1 - level), step - 4, area.height * level);
    }
    canvas.fill(pane.picture, 0xF2C14E, bars);
}

void Scene::paintStripes(Canvas& canvas, const Pane& pane, std::uint64_t frame) {
    constexpr std::array<Color, 4> kColors{0x3A86FF, 0xFFBE0B, 0xFB5607, 0x8338EC};
    const xcb_rectangle_t& area = pane.content;
    const double width = area.width / 8.0;
    const double offset = std::fmod(static_cast<double>(frame) * 3.0, width * kColors.size());
    // The picture ends at the window's edge, which cuts what reaches past it.
    for (int stripe = -static_cast<int>(kColors.size()); stripe < 8; ++stripe) {
        const auto color = static_cast<std::size_t>(stripe + 4) % kColors.size();
        canvas.fill(pane.picture, kColors[color],
                    rectangle(stripe * width + offset, area.y, width + 1, area.height));
    }
}
