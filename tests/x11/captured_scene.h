/*
 * A capture, driven through the exported functions, of a screen whose every pixel is known: it
 * tells at each look whether the frame is one that may be.
 *
 * A frame may be the scene as it is or was, to the pixel and of its size, or black; there may be
 * none. Any other is counted as wrong. Painting needs a server that answers at the display.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "painter.h"

class CapturedScene {
  public:
    static constexpr unsigned kRate = 30;  // frames a second

    /* Paints the scene on a server's screen, of kWidth times kHeight, and has this process capture
     * it, by way of another display if that is a relay's. */
    explicit CapturedScene(const std::string& display) : CapturedScene(display, display) {}
    CapturedScene(std::string display, const std::string& way);
    /* Stops, and deletes the capture manager. */
    ~CapturedScene();
    CapturedScene(const CapturedScene&) = delete;
    CapturedScene& operator=(const CapturedScene&) = delete;

    /* What the exported function gives. */
    std::uint32_t start(unsigned framesPerSecond = kRate);
    /* How long that took. */
    std::chrono::milliseconds stop();

    unsigned index() const { return index_; }

    /* Changes a spot of the scene; makes all of it one colour, until the next change. */
    void change();
    void paintOneColour();

    /* Lets go of the server, which is about to end; paints the scene on the one that has come. */
    void leaveServer() { painter_.reset(); }
    void paintOnNewServer();

    /* Whether there soon is such a frame: the scene as it is, the scene after another change, a
     * black one. */
    bool comes();
    bool follows();
    bool turnsBlack();

    /* Frames looked at so far that may not be. */
    unsigned wrongFrames() const { return wrongFrames_; }

    static constexpr std::uint16_t kWidth = 320;
    static constexpr std::uint16_t kHeight = 240;

  private:
    enum class Sight { nothing, black, older, newest };
    using Bytes = std::vector<std::uint8_t>;

    Sight look();
    Sight judge(const Bytes& frame) const;
    void paint(const Area& area, Color color);
    bool awaitSight(Sight sight);

    const std::string display_;
    unsigned index_ = 0;
    std::optional<Painter> painter_;
    Bytes picture_;
    std::uint8_t shade_ = 0;  // of the spot; all lower ones were before
    bool isBeingPainted_ = false;
    unsigned wrongFrames_ = 0;
};

/* Stops the capture, within a bound that a machine keeps which does much else; the test's report
 * has the time. What is promised is 3.2 s. */
void expectBoundedStop(CapturedScene& capture);
