/* A click anywhere on the screen, which no window gets to see. */
#ifndef CAPMGR_SCREEN_CLICK_H
#define CAPMGR_SCREEN_CLICK_H

#include <cstdint>
#include <memory>

#include "interruption.h"

/* In global display coordinates. */
struct ScreenPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

/* While it lives, pointer and keyboard are its own, and the pointer is a cross. */
class ScreenClick {
  public:
    /* Throws Failure when pointer and keyboard are not to be had. */
    ScreenClick();
    ~ScreenClick();
    ScreenClick(const ScreenClick&) = delete;
    ScreenClick& operator=(const ScreenClick&) = delete;

    /* Waits for the click. Throws Failure when it was cancelled instead, by Esc, the right button
     * or an interruption, and when the display server is gone. */
    ScreenPoint await(const Interruption& interruption) const;

  private:
    struct Grab;
    std::unique_ptr<Grab> grab_;
};

#endif
