// Locales: categories and masks have other numbers, and every locale is "C", which macOS programs
// start in. So what takes a locale ignores it. No message catalogues.
#include <bit>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kCategories = 7;  // LC_ALL (0) to LC_MESSAGES (6)

struct Locale {
    int mask;
};

bool isC(const char* name) {
    return *name == '\0' || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0;
}

const char* setLocale(int category, const char* name) {
    if (category < 0 || category >= kCategories || (name != nullptr && !isC(name))) {
        return nullptr;
    }
    return "C";
}

// A new one each time, or the one that is to be changed: its owner frees it.
Locale* newLocale(int mask, const char* name, Locale* base) {
    if (!isC(name)) {
        errno = ENOENT;
        return nullptr;
    }
    return base != nullptr ? base : new Locale{mask};
}

void freeLocale(Locale* locale) {
    delete locale;
}

lconv* conventions(void*) {
    return std::localeconv();
}

int longestCharacter(void*) {
    return 1;
}

double toDouble(const char* text, char** end, void*) {
    return std::strtod(text, end);
}

float toFloat(const char* text, char** end, void*) {
    return std::strtof(text, end);
}

long double toLongDouble(const char* text, char** end, void*) {
    return std::strtold(text, end);
}

long long toInteger(const char* text, char** end, int base, void*) {
    return std::strtoll(text, end, base);
}

unsigned long long toUnsigned(const char* text, char** end, int base, void*) {
    return std::strtoull(text, end, base);
}

int collate(const char* one, const char* other, void*) {
    return std::strcmp(one, other);
}

int collateWide(const wchar_t* one, const wchar_t* other, void*) {
    return std::wcscmp(one, other);
}

size_t transform(char* to, const char* from, size_t size, void*) {
    return std::strxfrm(to, from, size);
}

size_t transformWide(wchar_t* to, const wchar_t* from, size_t size, void*) {
    return std::wcsxfrm(to, from, size);
}

[[gnu::format(printf, 4, 5)]] int format(char* text, size_t size, void*, const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int length = std::vsnprintf(text, size, pattern, arguments);
    va_end(arguments);
    return length;
}

[[gnu::format(printf, 3, 4)]] int formatNew(char** text, void*, const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int length = vasprintf(text, pattern, arguments);
    va_end(arguments);
    return length;
}

[[gnu::format(scanf, 3, 4)]] int scan(const char* text, void*, const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int count = std::vsscanf(text, pattern, arguments);
    va_end(arguments);
    return count;
}

// catopen's answer when there is no catalogue.
void* openCatalogue(const char*, int) {
    errno = ENOENT;
    return std::bit_cast<void*>(intptr_t{-1});
}

const char* message(void*, int, int, const char* text) {
    return text;
}

int closeCatalogue(void*) {
    errno = EBADF;
    return -1;
}

const Registration registration{
    symbol("_setlocale", setLocale),
    symbol("_newlocale", newLocale),
    symbol("_freelocale", freeLocale),
    symbol("_localeconv", localeconv),
    symbol("_localeconv_l", conventions),
    symbol("____mb_cur_max_l", longestCharacter),
    symbol("_strtod_l", toDouble),
    symbol("_strtof_l", toFloat),
    symbol("_strtold_l", toLongDouble),
    symbol("_strtoll_l", toInteger),
    symbol("_strtoull_l", toUnsigned),
    symbol("_strcoll_l", collate),
    symbol("_wcscoll_l", collateWide),
    symbol("_strxfrm_l", transform),
    symbol("_wcsxfrm_l", transformWide),
    // Its last argument, the locale, arrives in a register that is not looked at.
    symbol("_strftime_l", strftime),
    symbol("_snprintf_l", format),
    symbol("_asprintf_l", formatNew),
    symbol("_sscanf_l", scan),
    symbol("_catopen", openCatalogue),
    symbol("_catgets", message),
    symbol("_catclose", closeCatalogue),
};

}  // namespace
}  // namespace system_library
