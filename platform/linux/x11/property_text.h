/*
 * What applications write about themselves, made fit to be shown.
 *
 * The bytes come from any program that can reach the server, so nothing about them is taken for
 * granted. What comes out is valid UTF-8 on one line: what cannot be read is U+FFFD, control
 * characters and line ends are blanks. No display server in here.
 */
#pragma once

#include <string>
#include <string_view>

namespace qor::x11 {

enum class TextEncoding {
    latin1,    // STRING
    utf8,      // UTF8_STRING
    compound,  // COMPOUND_TEXT: of its many encodings ASCII, Latin-1 and UTF-8, without the rest
};

/* The text up to the first NUL. isCut tells that the bytes are the beginning of a longer text: a
 * character that is not whole at their end is dropped. */
std::string readableText(std::string_view bytes, TextEncoding encoding, bool isCut);

/* Of a WM_CLASS, two names that each end with a NUL, the second: what the application is called
 * however it was started. The first if there is no second. */
std::string_view applicationIn(std::string_view bytes);

}  // namespace qor::x11
