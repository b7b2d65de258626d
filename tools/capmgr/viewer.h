/*
 * Shows what is captured in a window, and has a person change the capture by keys.
 *
 * All on one thread, as the interface wants it: that sleeps until there is a frame, an event of the
 * window, or some text to bring up to date.
 */
#ifndef CAPMGR_VIEWER_H
#define CAPMGR_VIEWER_H

#include <optional>
#include <string>
#include <vector>

#include "capture_choice.h"
#include "commands.h"
#include "frame_reader.h"
#include "viewer_controls.h"
#include "viewer_status.h"
#include "viewer_window.h"
#include "viewer_window_list.h"

struct ViewerOptions {
    std::optional<double> seconds;  // how long, from the first picture; none: until it is closed
    bool showsTexts = true;
    bool includesItself = false;  // shows the viewer's own window as well
    bool json = false;            // tells every change of state on standard output
};

class Viewer {
  public:
    /* Opens the window and starts the capture. Throws Failure. */
    Viewer(const CaptureChoice& choice, const ViewerOptions& options,
           const Environment& environment);

    /* Until the window is closed, the time is up or an interruption comes. Throws Failure when the
     * capture fails for good. */
    void run();

  private:
    CaptureSettings firstSettings(const CaptureChoice& choice);
    Clock::time_point nextDeadline() const;
    void handle(const SDL_Event& event);
    void press(const SDL_KeyboardEvent& key);
    void obey(ViewerAction action);
    void takeFrame();
    void show(const FrameNews& news);
    void lookAtMonitors(Clock::time_point now);
    bool followMonitor();
    void startOn(const CAP_MONITOR_INFO& monitor);
    void changeSize(Step step);
    void changeRate(Step step);
    void pauseOrResume();
    void nextMonitor();
    void chooseWindows();
    void clearWindows();
    void tickWindow();
    void nameWindows();
    void notify(const std::string& notice);
    void updateTexts(Clock::time_point now);
    std::string noticeText(Clock::time_point now) const;
    void tellState();

    const ViewerOptions options_;
    const Environment& environment_;
    ViewerStatus status_;
    ViewerWindow window_;
    FrameReader reader_;  // after the window, which it wakes
    ViewerWindowList windowList_;
    RateMeter meter_;
    Frame frame_;
    Frame shown_;
    Clock::duration latency_{};
    std::vector<std::string> leftOutNames_;
    std::string notice_;
    Clock::time_point noticeEnd_;
    Clock::time_point textsDue_;
    Clock::time_point monitorsDue_;
    std::string told_;  // the state that was told last
    Clock::time_point end_ = Clock::time_point::max();
    bool isDrawn_ = false;  // the window shows all there is to show
    bool isClosed_ = false;
};

#endif
