/*
 * Captures, windows and displays, all changed at random for as long as is wanted, and all checked.
 *
 * Everything is done from one thread; what is done follows from the seed alone. Throws Broken when
 * something is not as it must be, and std::runtime_error when the surroundings fail.
 */
#pragma once

#include <chrono>
#include <memory>
#include <random>
#include <vector>

#include "driven_capture.h"
#include "holdings.h"
#include "journal.h"
#include "plug_board.h"
#include "randr_client.h"
#include "scene.h"
#include "xorg_server.h"

class Soak {
  public:
    Soak(unsigned seed, Journal& journal);

    void run(std::chrono::milliseconds duration);

    const Tally& tally() const { return tally_; }
    const Holdings& holdings() const { return holdings_; }

  private:
    static constexpr std::size_t kCaptures = 8;

    struct Deed {
        unsigned weight;
        void (Soak::*act)();
    };
    static const std::vector<Deed>& deeds();

    unsigned below(std::size_t bound) { return static_cast<unsigned>(random_() % bound); }
    bool oneIn(unsigned count) { return below(count) == 0; }
    DrivenCapture& anyCapture() { return *captures_[below(kCaptures)]; }
    xcb_window_t anyWindow();

    void step();
    void changeScene();
    void start();
    void stop();
    void stopHoldingAFrame();
    void pause();
    void resume();
    void setFrameSize();
    void setRates();
    void leaveOut();
    void takeBack();
    void share();
    void changeDisplays();
    void settle();
    void rest();
    void restAndStart();
    void startAll();
    void freeze();

    void arrange();
    void tellOfDisplays();

    Holdings holdings_;  // before there is anything
    XorgServer server_;
    RandrClient randr_;
    PlugBoard board_;
    std::mt19937 random_;
    Journal& journal_;
    std::unique_ptr<Scene> scene_;
    Tally tally_;
    Captures captures_;
};
