// Lists of windows to leave out of the picture. One that has lost a window, as there was no memory
// for it, says so for as long as it is not emptied: no picture is known to be without that window.
#ifndef QOR_CONF_EXCLUDEDWINDOWS_H
#define QOR_CONF_EXCLUDEDWINDOWS_H

#include <vector>

namespace excluded_windows {

using List = std::vector<const void*>;

// Makes the room by which a list can say that it has lost a window. Once, to begin with.
void prepare(List& windows);

// Adds a window at the end. Throws std::bad_alloc, and the list has lost it then.
void add(List& windows, const void* window);

bool contains(const List& windows, const void* window);

// Whether a window was lost.
bool isIncomplete(const List& windows);

}  // namespace excluded_windows

#endif
