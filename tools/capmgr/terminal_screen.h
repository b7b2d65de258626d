/*
 * A terminal taken over for a while, as by top: a screen of its own, on which each picture replaces
 * the one before, and single keys. When it goes away, the terminal is as it was, and so it is when
 * a second Ctrl-C ends the program.
 */
#ifndef CAPMGR_TERMINAL_SCREEN_H
#define CAPMGR_TERMINAL_SCREEN_H

#include <termios.h>

#include <optional>
#include <string>
#include <vector>

#include "console.h"
#include "interruption.h"

class TerminalScreen {
  public:
    /* The console is a terminal; both outlive this. */
    TerminalScreen(Console& console, Interruption& interruption);
    ~TerminalScreen();
    TerminalScreen(const TerminalScreen&) = delete;
    TerminalScreen& operator=(const TerminalScreen&) = delete;

    /* A line as it is shown: a name in its colour, and a value. */
    struct Line {
        std::string name;
        std::string value;
        Style style = Style::Plain;
    };

    /* Shows the lines from the top, cut to the size that the terminal has now. */
    void show(const std::vector<Line>& lines);

    /* A key that was pressed, if any. */
    std::optional<char> takeKey() const;

  private:
    void leave() const;

    Console& console_;
    Interruption& interruption_;
    std::optional<termios> before_;  // none: keys are not ours to take
};

#endif
