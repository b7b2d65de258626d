#include "x11/property_text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace qor::x11 {
namespace {

constexpr char32_t kReplacement = 0xfffd;

std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<std::uint8_t>(bytes[index]);
}

bool breaksTheLine(char32_t character) {
    constexpr char32_t kLineSeparator = 0x2028;
    constexpr char32_t kParagraphSeparator = 0x2029;
    return character < 0x20 || (character >= 0x7f && character < 0xa0) ||
           character == kLineSeparator || character == kParagraphSeparator;
}

void append(std::string& text, char32_t character) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto putTail = [&put](char32_t bits) { put(0x80 | (bits & 0x3f)); };
    const char32_t shown = breaksTheLine(character) ? U' ' : character;
    if (shown < 0x80) {
        put(shown);
    } else if (shown < 0x800) {
        put(0xc0 | shown >> 6);
        putTail(shown);
    } else if (shown < 0x10000) {
        put(0xe0 | shown >> 12);
        putTail(shown >> 6);
        putTail(shown);
    } else {
        put(0xf0 | shown >> 18);
        putTail(shown >> 12);
        putTail(shown >> 6);
        putTail(shown);
    }
}

/* How a character in UTF-8 goes on after its first byte. */
struct Lead {
    std::size_t tailLength;
    // Of the second byte, which is where overlong forms, surrogates and what lies beyond Unicode
    // show. Those behind it are from 0x80 to 0xbf.
    std::uint8_t least;
    std::uint8_t most;
    char32_t bits;
};

/* Null if no character begins with the byte. */
std::optional<Lead> leadIn(std::uint8_t byte) {
    if (byte < 0x80)
        return Lead{0, 0, 0, byte};
    if (byte >= 0xc2 && byte <= 0xdf)
        return Lead{1, 0x80, 0xbf, byte & 0x1fU};
    if (byte >= 0xe0 && byte <= 0xef) {
        const std::uint8_t least = byte == 0xe0 ? 0xa0 : 0x80;
        const std::uint8_t most = byte == 0xed ? 0x9f : 0xbf;
        return Lead{2, least, most, byte & 0x0fU};
    }
    if (byte >= 0xf0 && byte <= 0xf4) {
        const std::uint8_t least = byte == 0xf0 ? 0x90 : 0x80;
        const std::uint8_t most = byte == 0xf4 ? 0x8f : 0xbf;
        return Lead{3, least, most, byte & 0x07U};
    }
    return std::nullopt;
}

/* Takes one character, or as many bytes as can begin one, off the front of the bytes. Null if they
 * end in the middle of it. */
std::optional<char32_t> takeUtf8(std::string_view& bytes) {
    const auto lead = leadIn(byteAt(bytes, 0));
    bytes.remove_prefix(1);
    if (!lead)
        return kReplacement;
    char32_t character = lead->bits;
    for (std::size_t i = 0; i < lead->tailLength; ++i) {
        if (bytes.empty())
            return std::nullopt;
        const std::uint8_t byte = byteAt(bytes, 0);
        const std::uint8_t least = i == 0 ? lead->least : std::uint8_t{0x80};
        const std::uint8_t most = i == 0 ? lead->most : std::uint8_t{0xbf};
        if (byte < least || byte > most)
            return kReplacement;
        character = character << 6 | (byte & 0x3fU);
        bytes.remove_prefix(1);
    }
    return character;
}

std::string textOfUtf8(std::string_view bytes, bool isCut) {
    std::string text;
    while (!bytes.empty()) {
        const auto character = takeUtf8(bytes);
        if (character || !isCut)
            append(text, character.value_or(kReplacement));
    }
    return text;
}

std::string textOfLatin1(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        append(text, byteAt(bytes, i));
    return text;
}

/* Reads a compound text for those of its characters that need no table. */
class CompoundText {
  public:
    CompoundText(std::string_view bytes, bool isCut) : bytes_(bytes), isCut_(isCut) {}

    std::string read() {
        while (!bytes_.empty()) {
            const std::uint8_t byte = take();
            if (byte == kEscape)
                followEscape();
            else if (byte == kControlSequence)
                takeThrough(0x40, 0x7e);
            else if (byte < 0x80 ? leftIsAscii_ : rightIsLatin1_)
                append(text_, byte);
        }
        return std::move(text_);
    }

  private:
    static constexpr std::uint8_t kEscape = 0x1b;
    static constexpr std::uint8_t kControlSequence = 0x9b;  // of the writing direction

    std::uint8_t take() {
        const std::uint8_t byte = byteAt(bytes_, 0);
        bytes_.remove_prefix(1);
        return byte;
    }

    std::string_view take(std::size_t length) {
        const std::string_view taken = bytes_.substr(0, length);
        bytes_.remove_prefix(taken.size());
        return taken;
    }

    /* Takes what comes before a byte of that range, and it too. */
    std::string_view takeThrough(std::uint8_t least, std::uint8_t most) {
        std::size_t length = 0;
        while (length < bytes_.size()) {
            const std::uint8_t byte = byteAt(bytes_, length++);
            if (byte >= least && byte <= most)
                break;
        }
        return take(length);
    }

    /* Escapes choose what bytes below 0x80 stand for, and those above. */
    void followEscape() {
        const std::string_view sequence = takeThrough(0x30, 0x7e);
        if (sequence == "%G")
            readUtf8();
        else if (sequence.starts_with("%/"))
            skipSegment();
        else if (sequence.starts_with("-") || sequence.starts_with(")") ||
                 sequence.starts_with("$)"))
            rightIsLatin1_ = sequence == "-A";
        else if (sequence.starts_with("(") || sequence.starts_with("$"))
            leftIsAscii_ = sequence == "(B";
    }

    /* UTF-8 up to the next escape, or the end, where it may be cut. */
    void readUtf8() {
        const std::string_view segment = take(bytes_.find(static_cast<char>(kEscape)));
        text_ += textOfUtf8(segment, isCut_ && bytes_.empty());
    }

    /* Text in another encoding, behind its length in two bytes of seven bits. */
    void skipSegment() {
        if (bytes_.size() < 2) {
            bytes_ = {};
            return;
        }
        const std::size_t high = take() & 0x7fU;
        const std::size_t low = take() & 0x7fU;
        take(high << 7 | low);
    }

    std::string_view bytes_;
    const bool isCut_;
    bool leftIsAscii_ = true;
    bool rightIsLatin1_ = true;
    std::string text_;
};

}  // namespace

std::string readableText(std::string_view bytes, TextEncoding encoding, bool isCut) {
    const std::string_view first = bytes.substr(0, bytes.find('\0'));
    const bool isFirstCut = isCut && first.size() == bytes.size();
    switch (encoding) {
        case TextEncoding::latin1:
            return textOfLatin1(first);
        case TextEncoding::utf8:
            return textOfUtf8(first, isFirstCut);
        case TextEncoding::compound:
            return CompoundText(first, isFirstCut).read();
    }
    return {};
}

std::string_view applicationIn(std::string_view bytes) {
    const std::size_t end = bytes.find('\0');
    const std::string_view instance = bytes.substr(0, end);
    if (end == std::string_view::npos)
        return instance;
    const std::string_view rest = bytes.substr(end + 1);
    const std::string_view applicationClass = rest.substr(0, rest.find('\0'));
    return applicationClass.empty() ? instance : applicationClass;
}

}  // namespace qor::x11
