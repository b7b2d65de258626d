#ifndef CAPMGR_WINDOW_PICK_H
#define CAPMGR_WINDOW_PICK_H

#include <cstdint>
#include <string_view>

#include "commands.h"

/*
 * Has the person at the screen click the window to do something with: `purpose`, "capture". Its
 * number; which window it is is told on standard error. Throws Failure when none was clicked.
 */
std::uint32_t pickWindow(std::string_view purpose, const Environment& environment);

#endif
