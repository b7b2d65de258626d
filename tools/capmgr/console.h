/*
 * Standard output or error, which may be a terminal, a pipe whose reader has gone, or a full disk.
 *
 * A failed write is remembered and later ones are dropped, so that a capture and its pictures are
 * finished first and the failure is reported once, at the end. For the main thread only.
 */
#ifndef CAPMGR_CONSOLE_H
#define CAPMGR_CONSOLE_H

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string_view>

class Console {
  public:
    explicit Console(std::FILE* stream = stdout) : stream_(stream) {}

    /* Writes text as it is, at once. */
    void write(std::string_view text);

    /* Throws Failure when something could not be written. */
    void finish() const;

    /* True when the cursor can be moved back to redraw a line. */
    bool isInteractive() const;

    /* Width of the terminal in characters. */
    std::size_t columns() const;

    /* The same, or none where lines may be of any length: in a pipe or a file. */
    std::optional<std::size_t> lineWidth() const;

  private:
    std::FILE* stream_;
    int error_ = 0;  // errno of the first failed write
};

#endif
