/* Product names in displays' descriptions, good and bad. */
#include "coregraphics/edid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string_view>
#include <vector>

#include "../fuzz/product_name_rule.h"

namespace {

using qor::coregraphics::productName;
using Bytes = std::vector<std::uint8_t>;

void makeSumRight(Bytes& edid) {
    edid[127] = 0;
    const unsigned sum = std::accumulate(edid.begin(), edid.begin() + 128, 0U);
    edid[127] = static_cast<std::uint8_t>(0U - sum);
}

/* A description with one text of 13 bytes in a descriptor, of the name's kind by default. */
Bytes description(std::string_view text, std::size_t descriptor = 0, std::uint8_t kind = 0xfc) {
    Bytes edid(128, 0);
    std::fill_n(edid.begin() + 1, 6, std::uint8_t{0xff});
    const std::size_t offset = 54 + descriptor * 18;
    edid[offset + 3] = kind;
    for (std::size_t i = 0; i < 13; ++i)
        edid[offset + 5 + i] = static_cast<std::uint8_t>(i < text.size() ? text[i] : ' ');
    makeSumRight(edid);
    return edid;
}

struct NameCase {
    std::string_view stored;
    const char* name;
};

class EdidNameTest : public testing::TestWithParam<NameCase> {};

TEST_P(EdidNameTest, IsDecoded) {
    EXPECT_EQ(productName(description(GetParam().stored)), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, EdidNameTest,
    testing::Values(NameCase{"Desk 27\n     ", "Desk 27"}, NameCase{"Desk 27      ", "Desk 27"},
                    NameCase{"Desk 27\nrest!", "Desk 27"}, NameCase{"  Desk 27  \n ", "Desk 27"},
                    NameCase{"Thirteen Byte", "Thirteen Byte"},
                    NameCase{"De\x01s\x7fk\t\r\n   ", "Desk"},
                    NameCase{"B\x81ro \x9c\n      ", "B\xc3\xbcro \xc2\xa3"},
                    NameCase{"27\xfd \xb3\n       ", "27\xc2\xb2 \xe2\x94\x82"}));

TEST(EdidTest, NameMayBeInAnyDescriptor) {
    for (const std::size_t descriptor : {0U, 1U, 2U, 3U})
        EXPECT_EQ(productName(description("Desk 27\n", descriptor)), "Desk 27");
}

TEST(EdidTest, NameOfADescriptionWithExtensionsIsRead) {
    Bytes edid = description("Desk 27\n");
    edid.resize(384, 0xa5);
    EXPECT_EQ(productName(edid), "Desk 27");
}

TEST(EdidTest, OtherTextsAreNotTheName) {
    for (const std::uint8_t kind : Bytes{0xff, 0xfe, 0x00})
        EXPECT_EQ(productName(description("Desk 27\n", 0, kind)), std::nullopt);
}

TEST(EdidTest, TimingThatLooksLikeANameIsNotOne) {
    Bytes edid = description("Desk 27\n");
    edid[54] = 1;  // a pixel clock
    makeSumRight(edid);
    EXPECT_EQ(productName(edid), std::nullopt);
}

TEST(EdidTest, EmptyNameIsNone) {
    EXPECT_EQ(productName(description("\n")), std::nullopt);
    EXPECT_EQ(productName(description("")), std::nullopt);
}

TEST(EdidTest, WrongSizesAreRefused) {
    const Bytes whole = description("Desk 27\n");
    for (const std::size_t size : {0U, 1U, 8U, 54U, 126U, 127U})
        EXPECT_EQ(productName(Bytes(whole.begin(), whole.begin() + static_cast<int>(size))),
                  std::nullopt);
    Bytes longer = whole;
    longer.push_back(0);
    EXPECT_EQ(productName(longer), std::nullopt);
}

TEST(EdidTest, EachDamagedByteOfTheBlockIsNoticed) {
    const Bytes whole = description("Desk 27\n");
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Bytes damaged = whole;
        damaged[i] ^= 0x10;
        EXPECT_EQ(productName(damaged), std::nullopt) << "byte " << i;
    }
}

TEST(EdidTest, WrongMagicIsNoticedEvenIfTheSumIsRight) {
    Bytes edid = description("Desk 27\n");
    std::swap(edid[0], edid[1]);
    EXPECT_EQ(productName(edid), std::nullopt);
}

/* Descriptions that were damaged at random, in the same way each time. Half of them have a right
 * sum again, as the others do not come past it. */
class DamagedDescriptions {
  public:
    Bytes next() {
        Bytes edid = description(kNames[below(std::size(kNames))], below(4));
        edid.resize(128 * (1 + below(3)));
        for (std::size_t damages = 1 + below(8); damages > 0; --damages)
            edid[below(128)] = static_cast<std::uint8_t>(random_());
        for (std::size_t i = 0; i < 13 && below(2) == 0; ++i)
            edid[54 + 18 * below(4) + 5 + i] = static_cast<std::uint8_t>(random_());
        if (below(2) == 0)
            makeSumRight(edid);
        if (below(16) == 0)
            edid.resize(below(edid.size() + 1));
        return edid;
    }

  private:
    static constexpr std::string_view kNames[]{"Desk 27\n", "\xff\xfe\xfd\xfc\xfb\xfa", "   ",
                                               "Thirteen Byte", "\x01\x7f\xb3\x80\n"};

    std::size_t below(std::size_t bound) { return random_() % bound; }

    std::mt19937 random_{7};
};

TEST(EdidTest, NamesInDamagedDescriptionsAreFitToBeShown) {
    constexpr int kDescriptions = 300'000;
    DamagedDescriptions descriptions;
    int named = 0;
    for (int i = 0; i < kDescriptions; ++i) {
        const Bytes edid = descriptions.next();
        const auto name = productName(edid);
        named += name ? 1 : 0;
        ASSERT_TRUE(!name || isProductName(*name)) << "description " << i << ": " << *name;
    }
    EXPECT_GT(named, kDescriptions / 5);  // so many came as far as the name's decoding
}

TEST(EdidTest, RuleForNamesNoticesUnfitOnes) {
    for (const std::string_view unfit :
         {"", " a", "a ", "a\tb", "\x7f", "\xc2\x85", "\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80",
          "\xf4\x90\x80\x80", "12345678901234"})
        EXPECT_FALSE(isProductName(unfit)) << unfit;
    EXPECT_TRUE(isProductName("\xe2\x94\x82 \xc2\xb2 27"));
}

}  // namespace
