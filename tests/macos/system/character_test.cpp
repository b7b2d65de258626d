// Characters and numbers as text in the "C" locale of macOS.
#include <gtest/gtest.h>
#include <locale.h>
#include <wchar.h>
#include <xlocale.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct CharacterClass {
    const char* name;
    int (*contains)(int);
    const char* members;  // among the printable ones and the usual controls
};

const char kDigits[] = "0123456789";
const char kLower[] = "abcdefghijklmnopqrstuvwxyz";
const char kUpper[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::string kLetters = std::string(kUpper) + kLower;
const std::string kHexadecimal = std::string(kDigits) + "ABCDEFabcdef";
const std::string kPunctuation = "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";
const std::string kLettersAndDigits = kLetters + kDigits;

// Through function pointers of our own, so that the header's inline functions are what is called.
const CharacterClass kClasses[] = {
    {"digit", [](int c) { return std::isdigit(c); }, kDigits},
    {"lower", [](int c) { return std::islower(c); }, kLower},
    {"upper", [](int c) { return std::isupper(c); }, kUpper},
    {"alpha", [](int c) { return std::isalpha(c); }, kLetters.c_str()},
    {"alnum", [](int c) { return std::isalnum(c); }, kLettersAndDigits.c_str()},
    {"xdigit", [](int c) { return std::isxdigit(c); }, kHexadecimal.c_str()},
    {"punct", [](int c) { return std::ispunct(c); }, kPunctuation.c_str()},
    {"space", [](int c) { return std::isspace(c); }, " \t\n\v\f\r"},
    {"blank", [](int c) { return std::isblank(c); }, " \t"},
};

class Characters : public testing::TestWithParam<CharacterClass> {};

TEST_P(Characters, ClassHoldsItsMembersAndNothingElse) {
    const std::string members = GetParam().members;
    for (int character = 1; character < 256; ++character) {
        const bool member = members.find(static_cast<char>(character)) != std::string::npos;
        EXPECT_EQ(GetParam().contains(character) != 0, member) << character;
    }
    EXPECT_EQ(GetParam().contains(EOF), 0);
}

INSTANTIATE_TEST_SUITE_P(System, Characters, testing::ValuesIn(kClasses),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Character, CaseChangesForLettersOnly) {
    for (int character = 0; character < 256; ++character) {
        const bool upper = character >= 'A' && character <= 'Z';
        const bool lower = character >= 'a' && character <= 'z';
        EXPECT_EQ(std::tolower(character), upper ? character + 32 : character);
        EXPECT_EQ(std::toupper(character), lower ? character - 32 : character);
    }
    EXPECT_EQ(digittoint('f'), 15);
}

class CLocale : public testing::Test {
  protected:
    CLocale() : locale_(newlocale(LC_ALL_MASK, "C", nullptr)) { EXPECT_NE(locale_, nullptr); }
    ~CLocale() override { freelocale(locale_); }

    locale_t locale_;
};

TEST_F(CLocale, BytesAndWideCharactersHaveTheSameNumbers) {
    for (int byte = 1; byte < 256; ++byte) {
        const char text = static_cast<char>(byte);
        wchar_t wide = 0;
        mbstate_t state{};
        EXPECT_EQ(mbrtowc_l(&wide, &text, 1, &state, locale_), 1U);
        EXPECT_EQ(wide, byte);
        char back = 0;
        EXPECT_EQ(wcrtomb_l(&back, wide, &state, locale_), 1U);
        EXPECT_EQ(back, text);
    }
}

TEST_F(CLocale, WideCharacterBeyondABytesIsRefused) {
    mbstate_t state{};
    char byte = 0;
    EXPECT_EQ(wcrtomb_l(&byte, 0x20AC, &state, locale_), static_cast<size_t>(-1));
    EXPECT_EQ(errno, EILSEQ);
    EXPECT_EQ(EILSEQ, 92);
}

TEST_F(CLocale, StringsConvertUpToTheirEndOrTheRoom) {
    mbstate_t state{};
    std::array<wchar_t, 4> wide{};
    const char* text = "abcdef";
    EXPECT_EQ(mbsnrtowcs_l(wide.data(), &text, 6, 4, &state, locale_), 4U);
    EXPECT_STREQ(text, "ef");
    EXPECT_EQ(mbsnrtowcs_l(wide.data(), &text, 3, 4, &state, locale_), 2U);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(wide[1], L'f');
    EXPECT_EQ(wide[2], L'\0');
}

TEST_F(CLocale, NumbersReadAndPrintWithAPoint) {
    EXPECT_EQ(strtod_l("1.5", nullptr, locale_), 1.5);
    std::array<char, 16> text{};
    EXPECT_EQ(snprintf_l(text.data(), text.size(), locale_, "%.2f", 2.5), 4);
    EXPECT_STREQ(text.data(), "2.50");
    EXPECT_STREQ(localeconv_l(locale_)->decimal_point, ".");
}

TEST(Locale, ProgramsStartInC) {
    EXPECT_STREQ(setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(setlocale(LC_CTYPE, "of nowhere"), nullptr);
    EXPECT_EQ(newlocale(LC_ALL_MASK, "of nowhere", nullptr), nullptr);
}

TEST(Print, PointersAreHexadecimalEvenIfNull) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%p", static_cast<void*>(nullptr));
    EXPECT_STREQ(text.data(), "0x0");
    std::snprintf(text.data(), text.size(), "%8p|%-8p|", reinterpret_cast<void*>(0xAB),
                  reinterpret_cast<void*>(0xCD));
    EXPECT_STREQ(text.data(), "    0xab|0xcd    |");
}

}  // namespace
