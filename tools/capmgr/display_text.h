/*
 * Text as it takes up room on a terminal, where a character may be two cells wide, or none.
 *
 * Texts are UTF-8.
 */
#ifndef CAPMGR_DISPLAY_TEXT_H
#define CAPMGR_DISPLAY_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

/* Fit to stand in a line: what would end the line, move the cursor or turn the writing direction
 * around is a blank, what is not UTF-8 the replacement character. */
std::string printable(std::string_view text);

/* Number of cells that a printable text takes. */
std::size_t displayWidth(std::string_view text);

/* The text if it takes at most `width` cells, else its beginning and an ellipsis. */
std::string cutToWidth(std::string_view text, std::size_t width);

#endif
