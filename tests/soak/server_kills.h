/*
 * Captures that go on while their display server is killed, again and again, and another one takes
 * its place. Throws Broken when they do not, or when anything is left behind.
 */
#pragma once

#include <memory>
#include <optional>
#include <random>
#include <string>

#include "driven_capture.h"
#include "holdings.h"
#include "journal.h"
#include "scene.h"
#include "xvfb_server.h"

class ServerKills {
  public:
    ServerKills(unsigned seed, Journal& journal);

    void run(unsigned kills);

    const Tally& tally() const { return tally_; }
    const Holdings& holdings() const { return holdings_; }

  private:
    static constexpr std::size_t kCaptures = 8;

    unsigned below(std::size_t bound) { return static_cast<unsigned>(random_() % bound); }
    void changeScene();
    void startServer();
    void killServer();
    void actWithoutServer();
    void readFrames();
    void startAll();
    void stopAll();
    void start(std::size_t position);
    void goOn();
    void chooseWindows(std::size_t position);

    Holdings holdings_;  // while nothing is captured
    std::mt19937 random_;
    Journal& journal_;
    Tally tally_;
    const std::string display_;
    std::unique_ptr<XvfbServer> server_;
    std::optional<Scene> scene_;  // a new one takes the place of the one before
    Captures captures_;
};
