/* Text that programs set on their windows: whatever it is, what is shown is fit for one line. */
#include "x11/property_text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace {

using qor::x11::applicationIn;
using qor::x11::readableText;
using qor::x11::TextEncoding;
using namespace std::string_view_literals;

constexpr TextEncoding kLatin1 = TextEncoding::latin1;
constexpr TextEncoding kUtf8 = TextEncoding::utf8;
constexpr TextEncoding kCompound = TextEncoding::compound;

struct Text {
    const char* name;
    TextEncoding encoding;
    std::string_view bytes;
    std::string_view shown;
    bool isCut = false;
};

void PrintTo(const Text& text, std::ostream* stream) {
    *stream << text.name;
}

class PropertyTextTest : public testing::TestWithParam<Text> {};

TEST_P(PropertyTextTest, IsShownAs) {
    const Text& text = GetParam();
    EXPECT_EQ(readableText(text.bytes, text.encoding, text.isCut), text.shown);
}

std::string nameOf(const testing::TestParamInfo<Text>& instance) {
    return instance.param.name;
}

const Text kLatin1Texts[] = {
    {"Empty", kLatin1, "", ""},
    {"Plain", kLatin1, "a title", "a title"},
    {"AboveAscii", kLatin1, "gr\xfcn \xff", "gr\u00fcn \u00ff"},
    {"Controls", kLatin1, "a\tb\nc\x1b[31m\x7f\x85\x9f|", "a b c [31m   |"},
    {"EndsAtNul", kLatin1, "first\0second"sv, "first"},
    {"NulFirst", kLatin1, "\0rest"sv, ""},
};

const Text kUtf8Texts[] = {
    {"OfEachLength", kUtf8, "a\u00e9\u20ac\U0001f600", "a\u00e9\u20ac\U0001f600"},
    {"Bounds", kUtf8, "\u07ff\u0800\xed\x9f\xbf\ue000\uffff\U00010000\U0010ffff",
     "\u07ff\u0800\xed\x9f\xbf\ue000\uffff\U00010000\U0010ffff"},
    {"OverlongOfTwo", kUtf8, "\xc0\xaf", "\ufffd\ufffd"},
    {"OverlongOfThree", kUtf8, "\xe0\x80\xaf", "\ufffd\ufffd\ufffd"},
    {"OverlongOfFour", kUtf8, "\xf0\x80\x80\xaf", "\ufffd\ufffd\ufffd\ufffd"},
    {"Surrogate", kUtf8, "\xed\xa0\x80", "\ufffd\ufffd\ufffd"},
    {"BeyondUnicode", kUtf8, "\xf4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd"},
    {"TailAlone", kUtf8, "a\x80z", "a\ufffdz"},
    {"InterruptedCharacter", kUtf8, "\xe2\x82z", "\ufffdz"},
    {"CharacterInAnother", kUtf8, "\xe2\x82\xe2\x82\xac", "\ufffd\u20ac"},
    {"NeverAByte", kUtf8, "\xfe\xff", "\ufffd\ufffd"},
    {"EndsTooEarly", kUtf8, "ab\xe2\x82", "ab\ufffd"},
    {"CutInACharacter", kUtf8, "ab\xe2\x82", "ab", true},
    {"CutAfterACharacter", kUtf8, "ab\u20ac", "ab\u20ac", true},
    {"CutBehindItsEnd", kUtf8, "ab\xe2\x82\0more"sv, "ab\ufffd", true},
    {"LatinInIt", kUtf8, "gr\xfcn", "gr\ufffdn"},
    {"Controls", kUtf8, "a\nb\u0085c\u009bd\u2028e\u2029f", "a b c d e f"},
    {"SpacesStay", kUtf8, " a\u00a0b ", " a\u00a0b "},
};

const Text kCompoundTexts[] = {
    {"Plain", kCompound, "a title", "a title"},
    {"LatinRightHalf", kCompound, "gr\xfcn", "gr\u00fcn"},
    {"Japanese", kCompound, "a\x1b$(B$\x22$$\x1b(Bz", "az"},
    {"JapaneseOnTheRight", kCompound, "a\x1b$)B\xa4\xa2z", "az"},
    {"OlderJapanese", kCompound, "a\x1b$B$\x22\x1b(Bz", "az"},
    {"Cyrillic", kCompound, "a\x1b-L\xb0\xb1z", "az"},
    {"OtherEncoding", kCompound, "a\x1b%/1\x80\x85name\x02z", "az"},
    {"OtherEncodingPastTheEnd", kCompound, "a\x1b%/1\xff\xffname", "a"},
    {"OtherEncodingWithoutLength", kCompound, "a\x1b%/1\x80", "a"},
    {"Utf8", kCompound, "a\x1b%G\xe2\x80\x94x\x1b%@z\xfc", "a\u2014xz\u00fc"},
    {"Utf8UpToTheCut", kCompound, "a\x1b%G\xc3\xbc\xe2\x80", "a\u00fc", true},
    {"Utf8CutBeforeItsEnd", kCompound, "a\x1b%G\xe2\x80\x1b%@z", "a\ufffdz", true},
    {"LatinAfterCyrillic", kCompound, "\x1b-L\xb0\x1b-A\xfc", "\u00fc"},
    {"Direction", kCompound, "a\x9b\x32]b\x9b]c", "abc"},
    {"EscapeAtTheEnd", kCompound, "a\x1b", "a"},
    {"EscapeWithoutEnd", kCompound, "a\x1b$$$$", "a"},
    {"Controls", kCompound, "a\tb\nc", "a b c"},
};

INSTANTIATE_TEST_SUITE_P(Latin1, PropertyTextTest, testing::ValuesIn(kLatin1Texts), nameOf);
INSTANTIATE_TEST_SUITE_P(Utf8, PropertyTextTest, testing::ValuesIn(kUtf8Texts), nameOf);
INSTANTIATE_TEST_SUITE_P(Compound, PropertyTextTest, testing::ValuesIn(kCompoundTexts), nameOf);

TEST(ApplicationNameTest, IsTheClassElseTheInstance) {
    EXPECT_EQ(applicationIn("xterm\0XTerm\0"sv), "XTerm");
    EXPECT_EQ(applicationIn("xterm\0XTerm"sv), "XTerm");
    EXPECT_EQ(applicationIn("xterm\0XTerm\0more\0"sv), "XTerm");
    EXPECT_EQ(applicationIn("\0XTerm\0"sv), "XTerm");
    EXPECT_EQ(applicationIn("xterm\0\0"sv), "xterm");
    EXPECT_EQ(applicationIn("xterm\0"sv), "xterm");
    EXPECT_EQ(applicationIn("xterm"sv), "xterm");
    EXPECT_EQ(applicationIn("\0\0\0"sv), "");
    EXPECT_EQ(applicationIn(""sv), "");
}

/* Whether a text is what the header promises, told in another way than the decoder's: by the number
 * that each character comes to. */
class Checker {
  public:
    explicit Checker(std::string_view text) : text_(text) {}

    bool isReadable() {
        while (position_ < text_.size()) {
            if (!takeCharacter())
                return false;
        }
        return true;
    }

  private:
    bool takeCharacter() {
        const auto lead = static_cast<std::uint8_t>(text_[position_]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        const bool isNoLead = (lead >= 0x80 && lead < 0xc0) || lead >= 0xf8;
        if (isNoLead || text_.size() - position_ < length)
            return false;
        std::uint32_t character = length == 1 ? lead : lead & (0x7fU >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const unsigned tail = static_cast<std::uint8_t>(text_[position_ + i]) ^ 0x80U;
            if (tail > 0x3f)
                return false;
            character = character * 64 + tail;
        }
        constexpr std::uint32_t kFirstOfLength[]{0x20, 0xa0, 0x800, 0x10000};
        constexpr std::uint32_t kEndOfLength[]{0x7f, 0x800, 0x10000, 0x110000};
        position_ += length;
        return character >= kFirstOfLength[length - 1] && character < kEndOfLength[length - 1] &&
               (character < 0xd800 || character > 0xdfff);
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

TEST(PropertyTextFuzzTest, CheckerTellsTextThatIsNotReadable) {
    EXPECT_TRUE(Checker("a\u00e9\u20ac\U0001f600").isReadable());
    for (const std::string_view text :
         {"\n"sv, "\0"sv, "\x7f"sv, "\xc2\x85"sv, "\xc3"sv, "\x80"sv, "\xc3\xff"sv, "\xc0\xaf"sv,
          "\xed\xa0\x80"sv, "\xe2z\xac"sv, "\xf4\x90\x80\x80"sv, "\xff\xbf\xbf\xbf"sv,
          "\xfc\x80\x80\x80"sv, "\x85\x80"sv})
        EXPECT_FALSE(Checker(text).isReadable());
}

/* Bytes of the kinds that decoders trip over, more often than chance has them. */
std::string hostileBytes(std::mt19937& random) {
    constexpr std::string_view kPieces[]{"\x1b$(B"sv,  "\x1b%/1"sv,      "\x1b("sv,    "\x9b"sv,
                                         "\xe2\x82"sv, "\xed\xa0\x80"sv, "\xf0\x9f"sv, "\xc0"sv,
                                         "\xf4\x90"sv, "\u20ac"sv,       "\0"sv,       "\n"sv};
    std::uniform_int_distribution<std::size_t> piece(0, 2 * std::size(kPieces));
    std::uniform_int_distribution<int> byte(0, 255);
    std::string bytes;
    for (std::size_t i = random() % 40; i > 0; --i) {
        const std::size_t choice = piece(random);
        if (choice < std::size(kPieces))
            bytes += kPieces[choice];
        else
            bytes += static_cast<char>(byte(random));
    }
    return bytes;
}

TEST(PropertyTextFuzzTest, AnyBytesBecomeReadableText) {
    std::mt19937 random(20240229);  // the same bytes in every run
    for (int i = 0; i < 20000; ++i) {
        const std::string bytes = hostileBytes(random);
        const std::string_view application = applicationIn(bytes);
        for (const TextEncoding encoding : {kLatin1, kUtf8, kCompound}) {
            for (const bool isCut : {false, true}) {
                const std::string text = readableText(application, encoding, isCut);
                ASSERT_TRUE(Checker(text).isReadable()) << "round " << i;
                ASSERT_TRUE(Checker(readableText(bytes, encoding, isCut)).isReadable());
                ASSERT_LE(text.size(), 3 * application.size());
            }
        }
    }
}

TEST(PropertyTextFuzzTest, TextThatIsReadableStaysAsItIs) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::string once = readableText(hostileBytes(random), kUtf8, false);
        ASSERT_EQ(readableText(once, kUtf8, false), once) << "round " << i;
    }
}

}  // namespace
