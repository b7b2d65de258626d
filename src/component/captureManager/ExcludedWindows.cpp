#include "ExcludedWindows.h"

#include <algorithm>

namespace excluded_windows {

namespace {

// Its address stands in a list for those that were lost. It is no window's number.
constexpr char kLost = 0;

}  // namespace

void prepare(List& windows) {
    windows.reserve(1);
}

void add(List& windows, const void* window) {
    try {
        windows.push_back(window);
    } catch (...) {
        windows.back() = &kLost;  // a prepared list that is full has a last one
        throw;
    }
}

bool contains(const List& windows, const void* window) {
    return std::find(windows.begin(), windows.end(), window) != windows.end();
}

bool isIncomplete(const List& windows) {
    return contains(windows, &kLost);
}

}  // namespace excluded_windows
