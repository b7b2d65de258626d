#include "display_text.h"

#include <utf8proc.h>

namespace {

constexpr std::string_view kEllipsis = "\u2026";
constexpr std::string_view kReplacement = "\ufffd";

struct Character {
    utf8proc_int32_t value;  // -1 if the bytes are none
    std::size_t length;      // bytes, 1 at least
};

/* The first one of a text that is not empty. */
Character firstOf(std::string_view text) {
    utf8proc_int32_t value = -1;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &value);
    return length > 0 ? Character{value, static_cast<std::size_t>(length)} : Character{-1, 1};
}

bool turnsDirection(utf8proc_int32_t character) {
    return (character >= 0x202a && character <= 0x202e) ||
           (character >= 0x2066 && character <= 0x2069);
}

bool spoilsALine(utf8proc_int32_t character) {
    const utf8proc_category_t category = utf8proc_category(character);
    return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP || turnsDirection(character);
}

std::size_t widthOf(utf8proc_int32_t character) {
    return static_cast<std::size_t>(utf8proc_charwidth(character));
}

}  // namespace

std::string printable(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const Character character = firstOf(text);
        if (character.value < 0) {
            line += kReplacement;
        } else if (spoilsALine(character.value)) {
            line += ' ';
        } else {
            line += text.substr(0, character.length);
        }
        text.remove_prefix(character.length);
    }
    return line;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const Character character = firstOf(text);
        width += widthOf(character.value);
        text.remove_prefix(character.length);
    }
    return width;
}

std::string cutToWidth(std::string_view text, std::size_t width) {
    if (displayWidth(text) <= width) {
        return std::string(text);
    }
    // Cut where a reader sees one character end: an accent stays with its letter.
    std::size_t kept = 0;
    std::size_t taken = 0;
    utf8proc_int32_t state = 0;
    utf8proc_int32_t previous = -1;
    for (std::size_t position = 0; position < text.size();) {
        const Character character = firstOf(text.substr(position));
        const bool begins =
            previous < 0 || utf8proc_grapheme_break_stateful(previous, character.value, &state);
        if (begins) {
            kept = position;
        }
        taken += widthOf(character.value);
        if (taken + displayWidth(kEllipsis) > width) {
            break;
        }
        previous = character.value;
        position += character.length;
    }
    return std::string(text.substr(0, kept)).append(kEllipsis);
}
