// Character classes: the inline functions of macOS's <ctype.h> read a table of the system library.
// The "C" locale only, whose classes are ASCII's.
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kCachedRunes = 256;

struct RuneRange {
    int count;
    void* ranges;
};

// macOS's _RuneLocale.
struct RuneLocale {
    std::array<char, 8> magic;
    std::array<char, 32> encoding;
    void* getRune;
    void* putRune;
    int32_t invalidRune;
    std::array<uint32_t, kCachedRunes> types;
    std::array<int32_t, kCachedRunes> lower;
    std::array<int32_t, kCachedRunes> upper;
    RuneRange typeRanges;
    RuneRange lowerRanges;
    RuneRange upperRanges;
    void* variable;
    int variableSize;
    int classCount;
    void* classes;
};

static_assert(offsetof(RuneLocale, types) == 60);
static_assert(offsetof(RuneLocale, lower) == 60 + 1024);

struct Class {
    int (*contains)(int);
    uint32_t bit;
};

constexpr std::array<Class, 11> kClasses{{
    {std::isalpha, 0x100},
    {std::iscntrl, 0x200},
    {std::isdigit, 0x400},
    {std::isgraph, 0x800},
    {std::islower, 0x1000},
    {std::ispunct, 0x2000},
    {std::isspace, 0x4000},
    {std::isupper, 0x8000},
    {std::isxdigit, 0x10000},
    {std::isblank, 0x20000},
    {std::isprint, 0x40000},
}};

constexpr uint32_t kOneColumn = 0x40000000;

// The low bits hold a digit's value.
uint32_t digitValue(int character) {
    if (std::isdigit(character) != 0) {
        return static_cast<uint32_t>(character - '0');
    }
    return std::isxdigit(character) != 0 ? static_cast<uint32_t>(std::tolower(character) - 'a' + 10)
                                         : 0;
}

uint32_t typeOf(int character) {
    uint32_t type = digitValue(character);
    for (const Class& oneClass : kClasses) {
        type |= oneClass.contains(character) != 0 ? oneClass.bit : 0;
    }
    return std::isprint(character) != 0 ? type | kOneColumn : type;
}

// Made before main, while this process still is in the "C" locale.
RuneLocale makeRunes() noexcept {
    RuneLocale runes{};
    runes.magic = {'R', 'u', 'n', 'e', 'M', 'a', 'g', 'A'};
    runes.encoding = {'N', 'O', 'N', 'E'};
    runes.invalidRune = 0xFFFD;
    for (int character = 0; character < kCachedRunes; ++character) {
        const auto index = static_cast<size_t>(character);
        runes.types[index] = typeOf(character);
        runes.lower[index] = std::tolower(character);
        runes.upper[index] = std::toupper(character);
    }
    return runes;
}

RuneLocale defaultRunes = makeRunes();
RuneLocale* currentRunes = &defaultRunes;

bool cached(int character) {
    return character >= 0 && character < kCachedRunes;
}

int maskRune(int character, unsigned long mask) {
    return cached(character)
               ? static_cast<int>(defaultRunes.types[static_cast<size_t>(character)] & mask)
               : 0;
}

int maskRuneIn(int character, unsigned long mask, void*) {
    return maskRune(character, mask);
}

int lowerCase(int character) {
    return cached(character) ? defaultRunes.lower[static_cast<size_t>(character)] : character;
}

int lowerCaseIn(int character, void*) {
    return lowerCase(character);
}

int upperCase(int character) {
    return cached(character) ? defaultRunes.upper[static_cast<size_t>(character)] : character;
}

int upperCaseIn(int character, void*) {
    return upperCase(character);
}

const Registration registration{
    symbol("__DefaultRuneLocale", &defaultRunes),
    symbol("__CurrentRuneLocale", &currentRunes),
    symbol("___maskrune", maskRune),
    symbol("___maskrune_l", maskRuneIn),
    symbol("___tolower", lowerCase),
    symbol("____tolower_l", lowerCaseIn),
    symbol("___toupper", upperCase),
    symbol("____toupper_l", upperCaseIn),
    // What a program that takes a function's address imports.
    symbol("_tolower", lowerCase),
    symbol("_toupper", upperCase),
    symbol("_isalnum", isalnum),
    symbol("_isalpha", isalpha),
    symbol("_isdigit", isdigit),
    symbol("_islower", islower),
    symbol("_isprint", isprint),
    symbol("_isspace", isspace),
    symbol("_isupper", isupper),
    symbol("_isxdigit", isxdigit),
};

}  // namespace
}  // namespace system_library
