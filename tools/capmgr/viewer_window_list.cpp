#include "viewer_window_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "display_text.h"

namespace {

constexpr std::size_t kRows = 8;
constexpr std::size_t kNameCells = 44;

}  // namespace

std::string nameOf(const Window& window) {
    const std::string& name = window.title.empty() ? window.application : window.title;
    return name.empty() ? fmt::format("window {}", window.number)
                        : cutToWidth(printable(name), kNameCells);
}

void ViewerWindowList::open(std::vector<Window> windows) {
    windows_ = std::move(windows);
    cursor_ = 0;
    isOpen_ = true;
}

void ViewerWindowList::up() {
    cursor_ -= cursor_ > 0 ? 1U : 0U;
}

void ViewerWindowList::down() {
    cursor_ += cursor_ + 1 < windows_.size() ? 1U : 0U;
}

std::optional<std::uint32_t> ViewerWindowList::current() const {
    return windows_.empty() ? std::nullopt : std::optional(windows_[cursor_].number);
}

std::string ViewerWindowList::text(const std::vector<std::uint32_t>& leftOut) const {
    std::string text = "Windows to leave out   Up/Down move   Space tick   X done\n";
    if (windows_.empty()) {
        return text + "there are no other windows on this monitor";
    }
    const std::size_t first = cursor_ < kRows ? 0 : cursor_ + 1 - kRows;
    const std::size_t last = std::min(first + kRows, windows_.size());
    for (std::size_t row = first; row < last; ++row) {
        const Window& window = windows_[row];
        const bool isOut = std::count(leftOut.begin(), leftOut.end(), window.number) > 0;
        text += fmt::format("\n{} [{}] {}", row == cursor_ ? '>' : ' ', isOut ? 'x' : ' ',
                            nameOf(window));
    }
    return last < windows_.size() ? text + fmt::format("\n  ... {} more", windows_.size() - last)
                                  : text;
}
