// Whole numbers from text: macOS reports EINVAL for a text without a number, this system nothing.
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cwchar>

#include "symbol_table.h"

namespace system_library {
namespace {

template <auto convert, typename Number, typename Character>
Number number(const Character* text, Character** end, int base) {
    Character* stop = nullptr;
    const Number result = convert(text, &stop, base);
    if (stop == text) {
        errno = EINVAL;
    }
    if (end != nullptr) {
        *end = stop;
    }
    return result;
}

const Registration registration{
    symbol("_strtol", number<std::strtol, long, char>),
    symbol("_strtoul", number<std::strtoul, unsigned long, char>),
    symbol("_strtoll", number<std::strtoll, long long, char>),
    symbol("_strtoull", number<std::strtoull, unsigned long long, char>),
    symbol("_strtoimax", number<std::strtoimax, intmax_t, char>),
    symbol("_strtoumax", number<std::strtoumax, uintmax_t, char>),
    symbol("_wcstol", number<std::wcstol, long, wchar_t>),
    symbol("_wcstoul", number<std::wcstoul, unsigned long, wchar_t>),
    symbol("_wcstoll", number<std::wcstoll, long long, wchar_t>),
    symbol("_wcstoull", number<std::wcstoull, unsigned long long, wchar_t>),
};

}  // namespace
}  // namespace system_library
