/* What the viewer has to know of the window system that its window is in. */
#ifndef CAPMGR_VIEWER_PLATFORM_H
#define CAPMGR_VIEWER_PLATFORM_H

#include <cstdint>
#include <optional>

struct SDL_Window;

/* The window's number in the list of windows; none where that cannot be told. */
std::optional<std::uint32_t> windowNumber(SDL_Window* window);

/*
 * From now on, a display server that is lost, or refuses to go on, ends the program at once with
 * status 1 and a line that says so. The window system's own library would end it as well, but with
 * words of its own, and returning to it is not possible, so there is no Failure to throw.
 */
void endWhenServerIsLost();

#endif
