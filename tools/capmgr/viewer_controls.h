/* The keys of the viewer, and the steps that they go. */
#ifndef CAPMGR_VIEWER_CONTROLS_H
#define CAPMGR_VIEWER_CONTROLS_H

#include <SDL_keycode.h>

#include <string>
#include <vector>

#include "CaptureManager.h"

enum class ViewerAction {
    None,
    PauseOrResume,
    LargerFrames,
    SmallerFrames,
    FasterRate,
    SlowerRate,
    NextMonitor,
    ChooseWindows,
    ClearWindows,
    Fullscreen,
    ShowTexts,
    Quit,
    ListUp,
    ListDown,
    ListTick,
    ListClose,
};

/* While the list of windows is open, some keys belong to it. */
ViewerAction actionFor(SDL_Keycode key, bool isListOpen);

/* What each key of the picture does: "Space pause". */
std::vector<std::string> keysHelp();

/* The next step in that direction, or the same where there is none. */
enum class Step { Up, Down };
unsigned int nextRate(unsigned int framesPerSecond, Step step);
/* Parts of the monitor's size, and the monitor's own. */
CAP_SIZE nextSize(CAP_SIZE size, CAP_SIZE monitor, Step step);

#endif
