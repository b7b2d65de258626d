/*
 * A scripted AppKit: the classes, and the part of the Objective-C runtime, that ScreenInfo.mm sends
 * its messages to when it is compiled for the calling convention of macOS.
 *
 * Life: reset() makes a desktop with neither screens nor a main screen. Describe the screens, let
 * the code under test run, then read which messages it sent and what it did wrong.
 *
 * Threads: one at a time. Messages are recorded in the order in which they came, whatever thread
 * they came from.
 *
 * The runtime is strict. A fault is a message to something that was never handed out, to an object
 * that is gone, of a selector that the receiver's class lacks, or through the entry point of
 * another kind of result. No address ever stands for two objects, so that a late message is told,
 * not suffered.
 */
#ifndef SCRIPTED_APPKIT_H
#define SCRIPTED_APPKIT_H

#include <CoreGraphics/CGGeometry.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#pragma GCC visibility push(default)

namespace scripted_appkit {

struct Screen {
    std::optional<int64_t> number{}; /* NSScreenNumber; without one the description lacks it */
    CGRect frame{};                  /* points, origin at the lower left of the main screen */
    double scale = 1;                /* backingScaleFactor */
    bool described = true;           /* has a deviceDescription */
};

void reset();

/* The screens in the array's order. Those of before, and their array, are gone. */
void setScreens(const std::vector<Screen>& screens);

/* [NSScreen screens] answers nil. */
void withholdScreens();

/* An object of its own, whatever the array holds. The main screen of before is gone. */
void setMainScreen(const Screen& screen);

/* The array hands out at most this many screens at once, and no more than it is asked for. */
void setBatch(size_t screens);

/* The array changes as soon as the number of the screen at this place has been read. */
void changeScreensAfter(size_t place);

/*
 * One line a message: "[receiver selector]", then what matters of arguments and result. Receivers
 * are "NSScreen", "screens", "screen N", "description N", "number N", "main screen", "description
 * of main screen", "number of main screen" and "nil". A change of the array that the walk reports
 * is "objc_enumerationMutation(screens)".
 */
std::vector<std::string> messages();
void forgetMessages();

/* The thread that the last message came from. */
std::thread::id sender();

/* One line a mistake, in the order in which they were made. */
std::vector<std::string> faults();

}  // namespace scripted_appkit

#pragma GCC visibility pop

#endif
