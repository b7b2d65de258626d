#include "bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "load_error.h"

namespace {

using macho::ByteReader;
using macho::Bytes;
using macho::LoadError;

Bytes over(const std::vector<uint8_t>& data) {
    return {data.data(), data.size(), "the test's bytes"};
}

struct UnsignedCase {
    std::vector<uint8_t> bytes;
    uint64_t value;
};

class UnsignedNumber : public testing::TestWithParam<UnsignedCase> {};

TEST_P(UnsignedNumber, IsReadSevenBitsAtATime) {
    ByteReader reader(over(GetParam().bytes));
    EXPECT_EQ(reader.unsignedNumber(), GetParam().value);
    EXPECT_TRUE(reader.atEnd());
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryLength, UnsignedNumber,
    testing::Values(UnsignedCase{{0x00}, 0}, UnsignedCase{{0x7f}, 127},
                    UnsignedCase{{0x80, 0x01}, 128}, UnsignedCase{{0xe5, 0x8e, 0x26}, 624485},
                    UnsignedCase{{0x80, 0x80, 0x00}, 0},
                    UnsignedCase{{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01},
                                 UINT64_MAX}));

struct SignedCase {
    std::vector<uint8_t> bytes;
    int64_t value;
};

class SignedNumber : public testing::TestWithParam<SignedCase> {};

TEST_P(SignedNumber, TakesItsSignFromTheLastByte) {
    ByteReader reader(over(GetParam().bytes));
    EXPECT_EQ(reader.signedNumber(), GetParam().value);
    EXPECT_TRUE(reader.atEnd());
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryLength, SignedNumber,
    testing::Values(SignedCase{{0x00}, 0}, SignedCase{{0x3f}, 63}, SignedCase{{0x40}, -64},
                    SignedCase{{0x7f}, -1}, SignedCase{{0xc0, 0x00}, 64},
                    SignedCase{{0xc0, 0xbb, 0x78}, -123456},
                    SignedCase{{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7f},
                               INT64_MIN}));

TEST(Number, OfMoreThan64BitsIsRefused) {
    const std::vector<uint8_t> data(11, 0xff);
    EXPECT_THROW(ByteReader(over(data)).unsignedNumber(), LoadError);
    EXPECT_THROW(ByteReader(over(data)).signedNumber(), LoadError);
}

TEST(Number, ThatDoesNotEndIsRefused) {
    const std::vector<uint8_t> data(2, 0x80);
    EXPECT_THROW(ByteReader(over(data)).unsignedNumber(), LoadError);
    EXPECT_THROW(ByteReader(over(data)).signedNumber(), LoadError);
}

TEST(Text, EndsWithAZero) {
    const std::vector<uint8_t> data = {'a', 'b', 0, 'c', 0};
    ByteReader reader(over(data));
    EXPECT_EQ(reader.text(), "ab");
    EXPECT_EQ(reader.text(), "c");
    EXPECT_TRUE(reader.atEnd());
}

TEST(Text, ThatDoesNotEndIsRefused) {
    const std::vector<uint8_t> data = {'a', 'b'};
    EXPECT_THROW((void)over(data).text(0), LoadError);
    EXPECT_THROW((void)over(data).text(2), LoadError);
}

struct Stretch {
    uint64_t offset;
    uint64_t size;
};

class PartOutside : public testing::TestWithParam<Stretch> {};

TEST_P(PartOutside, IsRefusedByName) {
    const std::vector<uint8_t> data(16);
    try {
        (void)over(data).part(GetParam().offset, GetParam().size, "the part");
        FAIL() << "it was handed out";
    } catch (const LoadError& error) {
        EXPECT_NE(std::string(error.what()).find("the part"), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(AtEveryEdge, PartOutside,
                         testing::Values(Stretch{0, 17}, Stretch{17, 0}, Stretch{16, 1},
                                         Stretch{8, UINT64_MAX}, Stretch{UINT64_MAX, 8},
                                         Stretch{UINT64_MAX, 1}));

TEST(Part, MayReachToTheEnd) {
    const std::vector<uint8_t> data(16);
    EXPECT_EQ(over(data).part(16, 0, "nothing").size(), 0U);
    EXPECT_EQ(over(data).part(8, 8, "the second half").size(), 8U);
}

}  // namespace
