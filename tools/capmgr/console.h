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
#include <string>
#include <string_view>

enum class ColorUse { Auto, Always, Never };

/* What a piece of text is, from which its colour follows. */
enum class Style { Plain, Heading, Good, Note, Error };

class Console {
  public:
    explicit Console(std::FILE* stream = stdout) : stream_(stream) {}

    /* Writes text as it is, at once. */
    void write(std::string_view text);

    /* Writes a line that begins with "note: ". */
    void note(std::string_view line);

    /* Throws Failure when something could not be written. */
    void finish() const;

    /* True when the cursor can be moved back to redraw a line. */
    bool isInteractive() const;

    /* Size of the terminal in characters. */
    std::size_t columns() const;
    std::size_t rows() const;

    /* The width, or none where lines may be of any length: in a pipe or a file. */
    std::optional<std::size_t> lineWidth() const;

    /* Until it is set, colours are used where they are of use: on terminals, unless NO_COLOR is. */
    void setColor(ColorUse use) { color_ = use; }

    /* The text as it is to be written: in its colour, if there are any. */
    std::string styled(std::string_view text, Style style) const;

  private:
    bool isColored() const;

    std::FILE* stream_;
    ColorUse color_ = ColorUse::Auto;
    int error_ = 0;  // errno of the first failed write
};

#endif
