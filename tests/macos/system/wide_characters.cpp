// Conversion to wide characters in the "C" locale: macOS's maps each byte to the same number and
// back, this system's does not. There is no shift state, so the 128 bytes of macOS's stay
// untouched.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cwchar>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr auto kInvalid = static_cast<size_t>(-1);
constexpr auto kIncomplete = static_cast<size_t>(-2);
constexpr wchar_t kLargest = 255;

wint_t wideOf(int byte, void*) {
    return byte == EOF ? WEOF : static_cast<wint_t>(byte & kLargest);
}

int byteOf(wint_t wide, void*) {
    return wide <= static_cast<wint_t>(kLargest) ? static_cast<int>(wide) : EOF;
}

size_t toWide(wchar_t* wide, const char* bytes, size_t size, void*, void*) {
    if (bytes == nullptr) {
        return 0;
    }
    if (size == 0) {
        return kIncomplete;
    }
    const auto byte = static_cast<unsigned char>(*bytes);
    if (wide != nullptr) {
        *wide = byte;
    }
    return byte == 0 ? 0 : 1;
}

size_t lengthOfCharacter(const char* bytes, size_t size, void* state, void* locale) {
    return toWide(nullptr, bytes, size, state, locale);
}

int toWideStateless(wchar_t* wide, const char* bytes, size_t size, void* locale) {
    const size_t length = toWide(wide, bytes, size, nullptr, locale);
    return length == kIncomplete ? -1 : static_cast<int>(length);
}

size_t fromWide(char* bytes, wchar_t wide, void*, void*) {
    if (bytes == nullptr) {
        return 1;
    }
    if (wide < 0 || wide > kLargest) {
        errno = EILSEQ;
        return kInvalid;
    }
    *bytes = static_cast<char>(wide);
    return 1;
}

// At most `limit` bytes are read and `room` characters written; without `to` they are only counted.
size_t stringToWide(wchar_t* to, const char** from, size_t limit, size_t room, void*, void*) {
    const char* const begin = *from;
    for (size_t i = 0; i < limit && (to == nullptr || i < room); ++i) {
        if (to != nullptr) {
            to[i] = static_cast<unsigned char>(begin[i]);
        }
        if (begin[i] == '\0') {
            *from = to == nullptr ? begin : nullptr;
            return i;
        }
    }
    const size_t length = to == nullptr ? limit : std::min(limit, room);
    *from = to == nullptr ? begin : begin + length;
    return length;
}

size_t wholeStringToWide(wchar_t* to, const char** from, size_t room, void* state, void* locale) {
    return stringToWide(to, from, static_cast<size_t>(-1), room, state, locale);
}

size_t stringFromWide(char* to, const wchar_t** from, size_t limit, size_t room, void* state,
                      void* locale) {
    const wchar_t* const begin = *from;
    size_t i = 0;
    for (; i < limit && (to == nullptr || i < room); ++i) {
        char byte = 0;
        if (fromWide(&byte, begin[i], state, locale) == kInvalid) {
            *from = begin + i;
            return kInvalid;
        }
        if (to != nullptr) {
            to[i] = byte;
        }
        if (byte == '\0') {
            *from = to == nullptr ? begin : nullptr;
            return i;
        }
    }
    *from = to == nullptr ? begin : begin + i;
    return i;
}

const Registration registration{
    symbol("_btowc_l", wideOf),
    symbol("_wctob_l", byteOf),
    symbol("_mbrtowc_l", toWide),
    symbol("_mbrlen_l", lengthOfCharacter),
    symbol("_mbtowc_l", toWideStateless),
    symbol("_wcrtomb_l", fromWide),
    symbol("_mbsnrtowcs_l", stringToWide),
    symbol("_mbsrtowcs_l", wholeStringToWide),
    symbol("_wcsnrtombs_l", stringFromWide),
};

}  // namespace
}  // namespace system_library
