/*
 * One capture, driven through the exported interface as a host does, that knows what it was told
 * and checks every answer and frame against that. Throws Broken when one is wrong. All of a
 * process's are to be used from one thread.
 */
#pragma once

#include <CaptureManager.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "journal.h"
#include "picture.h"
#include "scene.h"

/* Of all captures. */
struct Tally {
    unsigned long frames = 0;         // looked into
    unsigned long framesWithout = 0;  // those that windows were left out of for sure
    unsigned long settledFrames = 0;  // compared with the scene, and equal
    unsigned long stops = 0;
    std::chrono::milliseconds longestStop{0};
};

class DrivenCapture;
using Captures = std::vector<std::unique_ptr<DrivenCapture>>;

/* Waits until every capture that runs shows the scene, which nothing may change meanwhile. */
void settle(Scene& scene, const Captures& captures);

class DrivenCapture {
  public:
    struct Choice {
        unsigned monitor = 0;
        CAP_METHOD method = CAP_METHOD_DEFAULT;
        CAP_TYPE type = CAP_TYPE_DESKTOP;
        unsigned version = 0;
    };

    DrivenCapture(const Scene& scene, Journal& journal, Tally& tally);
    ~DrivenCapture();
    DrivenCapture(const DrivenCapture&) = delete;
    DrivenCapture& operator=(const DrivenCapture&) = delete;

    bool isStarted() const { return isStarted_; }
    bool isPaused() const { return isPaused_; }

    void start(const Choice& choice);
    void stop(bool forgetsWindows);
    /* Without unlocking a frame that this thread holds. */
    void stopHoldingAFrame();
    void pause();
    void resume();
    void setFrameSize(CAP_SIZE size);
    void setRates(unsigned most, unsigned current);
    void leaveOut(xcb_window_t window);
    void takeBack(xcb_window_t window);
    void takeAllBack();
    void share(xcb_window_t window);

    /* Looks into the newest frame, if there is one. */
    void readFrame();

    /* Whether the newest frame is what the scene looks like, where that is certain. */
    bool showsTheScene();
    /* Why it was not, the last time. */
    const std::string& difference() const { return difference_; }

    /* To be called before displays change: a capture that has not had its first image yet may find
     * another display than it was started for, or none, and end. */
    void expectOtherDisplays() { mayHaveEnded_ |= isStarted_ && !hasFrame_; }

    /* What was closed is nowhere to be seen any more. */
    void forgetClosedWindows();

    /* The size of frames at full size; the monitor's. */
    CAP_SIZE fullSize() const { return {area_.width, area_.height}; }

  private:
    /* A window that was left out while frames were made: the frame that is being made may still
     * show it. It is not binding until one later than the order was seen, and then one later than
     * that. */
    struct LeftOut {
        enum class Stage { ordered, seen, binding } stage = Stage::ordered;
        unsigned since = 0;
        std::uint32_t pixel = 0;
    };

    void note(const std::string& what);
    void takeStoredSettings(bool isKept);
    bool fits(CAP_SIZE size) const;
    bool isScaled() const;
    std::optional<Picture> newestFrame();
    void check(const Picture& frame);
    void checkDesktop(const Picture& frame);
    void checkWindow(const Picture& frame) const;
    std::optional<unsigned> timeIn(const Picture& frame) const;
    void advance(unsigned time);
    std::set<xcb_window_t> leftOutWindows(bool onlyBinding) const;
    Picture expected() const;
    template <typename Call>
    void timeStop(Call call);

    const Scene& scene_;
    Journal& journal_;
    Tally& tally_;
    const unsigned index_ = CapMgr_GenerateCaptureIndex();
    bool isStarted_ = false;
    bool isPaused_ = false;
    bool hasFrame_ = false;  // seen since the start
    bool mayHaveEnded_ = false;
    Choice choice_;
    Area area_;        // of the screen, since the start
    CAP_SIZE size_{};  // of frames, while started
    CAP_SIZE storedSize_{};
    std::set<xcb_window_t> storedLeftOut_;
    std::map<xcb_window_t, LeftOut> leftOut_;
    xcb_window_t shared_ = 0;
    std::set<std::uint32_t> sharedPixels_;  // of all windows that were shared since the start
    std::string difference_;
};
