#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "vqutilc.h"

namespace {

constexpr unsigned int kMostFractionDigits = 17;
constexpr size_t kLongestNumber = 400;  // DBL_MAX in fixed notation: 309 digits and a fraction

size_t trimFraction(const char* text, size_t length) {
    if (std::memchr(text, '.', length) == nullptr) {
        return length;
    }
    while (text[length - 1] == '0') {
        --length;
    }
    return text[length - 1] == '.' ? length - 1 : length;
}

template <typename Integer>
size_t formatInteger(char (&digits)[kLongestNumber], Integer value, int base = 10) {
    return static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, value, base).ptr -
                               digits);
}

}  // namespace

VQ_Text_Stream::VQ_Text_Stream(unsigned int capacity, unsigned int growth)
    : m_pText(capacity == 0 ? nullptr : static_cast<char*>(std::malloc(capacity))),
      m_nCapacity(m_pText == nullptr ? 0 : capacity),
      m_nGrowth(growth) {
    if (m_pText == nullptr) {
        m_pText = m_szEmpty;
    }
    m_pText[0] = '\0';
}

VQ_Text_Stream::~VQ_Text_Stream() {
    if (m_nCapacity != 0) {
        std::free(m_pText);
    }
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(const char* text) {
    if (text != nullptr) {
        append(text, std::strlen(text));
    }
    return *this;
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(const void* pointer) {
    char digits[kLongestNumber];
    append("0x", 2);
    append(digits, formatInteger(digits, reinterpret_cast<uintptr_t>(pointer), 16));
    return *this;
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(double value) {
    char digits[kLongestNumber];
    const unsigned int precision =
        m_nFormat < kMostFractionDigits ? m_nFormat : kMostFractionDigits;
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed,
                                   static_cast<int>(precision));
    append(digits, trimFraction(digits, static_cast<size_t>(end.ptr - digits)));
    return *this;
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(int value) {
    char digits[kLongestNumber];
    append(digits, formatInteger(digits, value));
    return *this;
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(unsigned int value) {
    return *this << static_cast<unsigned long>(value);
}

VQ_Text_Stream& VQ_Text_Stream::operator<<(unsigned long value) {
    char digits[kLongestNumber];
    append(digits, formatInteger(digits, value));
    return *this;
}

void VQ_Text_Stream::append(const char* text, size_t length) noexcept {
    if (!reserve(length)) {
        const size_t room = m_nCapacity == 0 ? 0 : m_nCapacity - m_nLength - 1;
        length = length < room ? length : room;
    }
    // cppcheck-suppress uninitvar ; to_chars has written that much of it
    std::memcpy(m_pText + m_nLength, text, length);
    m_nLength += length;
    m_pText[m_nLength] = '\0';
}

bool VQ_Text_Stream::reserve(size_t length) noexcept {
    const size_t needed = m_nLength + length + 1;
    if (needed <= m_nCapacity) {
        return true;
    }
    const size_t grown = m_nCapacity + m_nGrowth;
    const size_t capacity = needed > grown ? needed : grown;
    char* const text =
        static_cast<char*>(std::realloc(m_nCapacity == 0 ? nullptr : m_pText, capacity));
    if (text == nullptr) {
        return false;
    }
    m_pText = text;
    m_nCapacity = capacity;
    return true;
}
