/* The windows on screen, of all applications. */
#ifndef CAPMGR_WINDOW_LIST_H
#define CAPMGR_WINDOW_LIST_H

#include <cstdint>
#include <string>
#include <vector>

struct Window {
    std::uint32_t number = 0;
    std::int32_t layer = 0;   // as the platform counts: 0 is a usual window
    std::string application;  // UTF-8, as the application has it; empty if it does not tell
    std::string title;        // the same
    std::int32_t left = 0;    // with its frame, in global display coordinates
    std::int32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/* Front to back. Throws Failure when they cannot be listed. */
std::vector<Window> listWindows();

/* Whether a window is the background of the desktop, or the icons on it. */
bool isDesktop(const Window& window);

#endif
