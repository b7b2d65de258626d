// ScreenInfo where there is AppKit. Compiled without automatic reference counting: nothing is kept
// beyond the call.
#include "ScreenInfo.h"

#import <AppKit/AppKit.h>

namespace {

// Every message to nil answers 0, so a screen without a description or without a number is no
// display's: this is not asked about display 0.
bool shows(NSScreen* screen, uint32_t displayID) {
    NSNumber* const number = [screen deviceDescription][@"NSScreenNumber"];
    return [number integerValue] == static_cast<NSInteger>(displayID);
}

NSScreen* screenThatShows(uint32_t displayID) {
    for (NSScreen* screen in [NSScreen screens]) {
        if (shows(screen, displayID)) {
            return screen;
        }
    }
    return nil;
}

}  // namespace

void ScreenInfo(uint32_t displayID, double* scaleFactor, CGRect* frame) {
    NSScreen* const screen = displayID == 0 ? nil : screenThatShows(displayID);
    // By rule the main screen is asked for anew for each output. Where there is none, the message
    // to nil yields zero: for the frame, which is returned in memory, the compiler sees to that.
    if (frame != nullptr) {
        *frame = [(screen != nil ? screen : [NSScreen mainScreen]) frame];
    }
    if (scaleFactor != nullptr) {
        *scaleFactor = [(screen != nil ? screen : [NSScreen mainScreen]) backingScaleFactor];
    }
}
