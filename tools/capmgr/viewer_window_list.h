/* The list from which a person picks the windows to leave out. */
#ifndef CAPMGR_VIEWER_WINDOW_LIST_H
#define CAPMGR_VIEWER_WINDOW_LIST_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "window_list.h"

/* A window as it is spoken of in a few words: by its title, else by its application. */
std::string nameOf(const Window& window);

class ViewerWindowList {
  public:
    void open(std::vector<Window> windows);
    void close() { isOpen_ = false; }
    bool isOpen() const { return isOpen_; }

    /* Moves the cursor, no further than to the ends. */
    void up();
    void down();

    /* The number of the window under the cursor; none when the list is empty. */
    std::optional<std::uint32_t> current() const;

    /* The list with the windows that are left out ticked. Long lists scroll. */
    std::string text(const std::vector<std::uint32_t>& leftOut) const;

  private:
    bool isOpen_ = false;
    std::vector<Window> windows_;
    std::size_t cursor_ = 0;
};

#endif
