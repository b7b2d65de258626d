#include "server_kills.h"

#include <CaptureManager.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "require.h"

namespace {

constexpr Scene::Size kScreen{640, 480};

/* Beyond the numbers that servers pick for themselves: nobody else takes it over meanwhile. */
std::string ownDisplay() {
    return ":" + std::to_string(200'000 + getpid());
}

bool isWindowCapture(std::size_t position) {
    return position % 4 == 3;
}

}  // namespace

ServerKills::ServerKills(unsigned seed, Journal& journal)
    : random_(seed), journal_(journal), display_(ownDisplay()) {
    setenv("DISPLAY", display_.c_str(), 1);
    // The scene connects while captures do. Where the X client library has to make up the name of
    // this file, it keeps it in memory that all threads share, without a lock.
    setenv("XAUTHORITY", "/dev/null", 1);
    startServer();
    for (std::size_t i = 0; i < kCaptures; ++i)
        captures_.push_back(std::make_unique<DrivenCapture>(*scene_, journal_, tally_));
}

/* What is held while captures run must not grow either. */
void ServerKills::run(unsigned kills) {
    startAll();
    stopAll();
    startAll();
    Holdings running;
    running.check();
    for (unsigned i = 0; i < kills; ++i) {
        changeScene();
        killServer();
        actWithoutServer();
        startServer();
        goOn();
        settle(*scene_, captures_);
        running.check();
        journal_.note("running, with " + std::to_string(running.memory().back().inUse) +
                      " KiB in use");
    }
    running.checkGrowth();
    stopAll();
}

void ServerKills::changeScene() {
    for (unsigned changes = below(40); changes > 0; --changes) {
        journal_.note(scene_->change());
        scene_->tick();
        readFrames();
    }
}

void ServerKills::startServer() {
    journal_.note("the server starts");
    server_ = std::make_unique<XvfbServer>("640x480x24", std::vector{display_});
    const unsigned time = scene_ ? scene_->time() : 0;
    scene_.emplace(display_, below(1000), kScreen, time);
}

void ServerKills::killServer() {
    journal_.note("the server is killed");
    kill(server_->pid(), SIGKILL);
    server_.reset();
}

/* One capture is stopped, one is not to be started, and all are looked at. */
void ServerKills::actWithoutServer() {
    captures_[below(kCaptures)]->stop(false);
    captures_[below(kCaptures)]->start({.method = CAP_METHOD_DEFAULT});
    for (unsigned times = below(20); times > 0; --times)
        readFrames();
}

/* And gives them time to come. */
void ServerKills::readFrames() {
    for (const auto& capture : captures_)
        capture->readFrame();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

void ServerKills::startAll() {
    for (std::size_t position = 0; position < kCaptures; ++position)
        start(position);
    settle(*scene_, captures_);
}

void ServerKills::stopAll() {
    for (const auto& capture : captures_)
        capture->stop(true);
    holdings_.check();
}

/* Every fourth shows a window; of the others, every second leaves some out. */
void ServerKills::start(std::size_t position) {
    DrivenCapture& capture = *captures_[position];
    capture.start({.type = isWindowCapture(position) ? CAP_TYPE_APP_WINDOW : CAP_TYPE_DESKTOP});
    capture.setRates(30, 30);
    chooseWindows(position);
}

/* On another server the windows have other numbers. */
void ServerKills::goOn() {
    CapMgr_UpdateMonitor();
    require(CapMgr_GetMonitorCount() == 1, "the monitor is there again");
    for (std::size_t position = 0; position < kCaptures; ++position) {
        if (captures_[position]->isStarted())
            chooseWindows(position);
        else
            start(position);
    }
}

void ServerKills::chooseWindows(std::size_t position) {
    DrivenCapture& capture = *captures_[position];
    capture.takeAllBack();
    if (isWindowCapture(position)) {
        capture.share(scene_->windows().back().id);
    } else if (position % 2 == 0) {
        for (const Scene::Window& window : scene_->windows()) {
            if (window.isSecret)
                capture.leaveOut(window.id);
        }
    }
}
