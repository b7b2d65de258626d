/* What holds of every text that is shown, whatever it was made from. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/* Takes one character off the front of a text; null if no valid UTF-8 begins it. */
inline std::optional<char32_t> takeCharacter(std::string_view& text) {
    const auto byteAt = [&text](std::size_t index) {
        return index < text.size() ? static_cast<std::uint8_t>(text[index]) : std::uint8_t{0};
    };
    const std::uint8_t first = byteAt(0);
    const std::size_t length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    constexpr std::uint8_t kLeadBits[]{0, 0x7f, 0x1f, 0x0f, 0x07};
    constexpr char32_t kSmallest[]{0, 0, 0x80, 0x800, 0x10000};
    char32_t character = first & kLeadBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xc0) != 0x80)
            return std::nullopt;
        character = character << 6 | (byteAt(i) & 0x3fU);
    }
    const bool isSurrogate = character >= 0xd800 && character < 0xe000;
    if (text.empty() || (first >= 0x80 && first < 0xc0) || first >= 0xf8 ||
        character < kSmallest[length] || character > 0x10ffff || isSurrogate)
        return std::nullopt;
    text.remove_prefix(length);
    return character;
}

inline bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

/* Valid UTF-8 on one line. */
inline bool isOneLine(std::string_view text) {
    while (!text.empty()) {
        const auto character = takeCharacter(text);
        if (!character || isControl(*character) || *character == 0x2028 || *character == 0x2029)
            return false;
    }
    return true;
}
