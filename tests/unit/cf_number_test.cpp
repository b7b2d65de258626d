/* Numbers and truth values, and rectangles as dictionaries of numbers. */
#include "corefoundation/cf_number.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <variant>
#include <vector>

#include "corefoundation/cf_dictionary.h"
#include "corefoundation/cf_string.h"
#include "coregraphics/rect_dictionary.h"

namespace {

using qor::corefoundation::createNumber;
using qor::corefoundation::createString;
using qor::corefoundation::DictionaryEntries;
using qor::corefoundation::NumberReference;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(BooleanTest, ValuesAreWhatTheyAreCalledHoweverOftenReleased) {
    for (int i = 0; i < 3; ++i) {
        CFRelease(kCFBooleanTrue);
        CFRelease(kCFBooleanFalse);
    }
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
}

template <typename T>
NumberReference numberOf(CFNumberType type, T value) {
    return NumberReference(CFNumberCreate(kCFAllocatorDefault, type, &value));
}

TEST(NumberTest, GivesBackWhatItWasMadeFrom) {
    for (const CFNumberType type : {kCFNumberSInt32Type, kCFNumberIntType}) {
        std::int32_t value = 0;
        EXPECT_TRUE(CFNumberGetValue(numberOf(type, std::int32_t{-5}).get(), type, &value));
        EXPECT_EQ(value, -5);
    }
    for (const CFNumberType type : {kCFNumberSInt64Type, kCFNumberLongLongType}) {
        std::int64_t value = 0;
        EXPECT_TRUE(CFNumberGetValue(numberOf(type, kLeast).get(), type, &value));
        EXPECT_EQ(value, kLeast);
    }
    for (const CFNumberType type :
         {kCFNumberFloat64Type, kCFNumberDoubleType, kCFNumberCGFloatType}) {
        double value = 0;
        EXPECT_TRUE(CFNumberGetValue(numberOf(type, 0.3).get(), type, &value));
        EXPECT_EQ(value, 0.3);
    }
}

/* What is read of a number as another type. */
struct Reading {
    std::variant<std::int64_t, double> stored;
    CFNumberType type;
    bool isExact;
    std::variant<std::int32_t, std::int64_t, double> read;
};

NumberReference numberOf(const std::variant<std::int64_t, double>& value) {
    return std::visit([](auto stored) { return createNumber(stored); }, value);
}

TEST(NumberTest, TellsWhetherATypeCanHoldIt) {
    constexpr CFNumberType kInt = kCFNumberSInt32Type;
    constexpr CFNumberType kLong = kCFNumberSInt64Type;
    constexpr CFNumberType kReal = kCFNumberFloat64Type;
    constexpr double kTwoTo63 = 9223372036854775808.0;
    for (const Reading& reading :
         std::vector<Reading>{{std::int64_t{INT32_MAX}, kInt, true, INT32_MAX},
                              {std::int64_t{INT32_MAX} + 1, kInt, false, INT32_MAX},
                              {std::int64_t{INT32_MIN} - 1, kInt, false, INT32_MIN},
                              {7.0, kInt, true, 7},
                              {7.9, kInt, false, 7},
                              {-7.9, kInt, false, -7},
                              {1e300, kInt, false, INT32_MAX},
                              {-kInfinity, kInt, false, INT32_MIN},
                              {std::nan(""), kInt, false, 0},
                              {kTwoTo63, kLong, false, kMost},
                              {-kTwoTo63, kLong, true, kLeast},
                              {std::nan(""), kLong, false, std::int64_t{0}},
                              {std::int64_t{1} << 53, kReal, true, 9007199254740992.0},
                              {(std::int64_t{1} << 53) + 1, kReal, false, 9007199254740992.0},
                              {kMost, kReal, false, kTwoTo63},
                              {kInfinity, kReal, true, kInfinity}}) {
        std::visit(
            [&reading](auto expected) {
                decltype(expected) value{};
                const auto number = numberOf(reading.stored);
                EXPECT_EQ(CFNumberGetValue(number.get(), reading.type, &value), reading.isExact);
                EXPECT_EQ(value, expected);
            },
            reading.read);
    }
}

TEST(NumberTest, OtherTypesAreRefused) {
    constexpr auto kCharType = static_cast<CFNumberType>(7);
    std::int64_t value = 42;
    EXPECT_EQ(CFNumberCreate(kCFAllocatorDefault, kCharType, &value), nullptr);
    EXPECT_FALSE(CFNumberGetValue(createNumber(std::int64_t{1}).get(), kCharType, &value));
    EXPECT_EQ(value, 42);
}

TEST(RectDictionaryTest, GivesBackTheRectangle) {
    const auto dictionary =
        qor::coregraphics::createRectDictionary(CGRectMake(-1.5, 2, 30000, 0.25));
    CGRect rect = CGRectMake(0, 0, 0, 0);
    ASSERT_TRUE(CGRectMakeWithDictionaryRepresentation(dictionary.get(), &rect));
    EXPECT_EQ(rect.origin.x, -1.5);
    EXPECT_EQ(rect.origin.y, 2);
    EXPECT_EQ(rect.size.width, 30000);
    EXPECT_EQ(rect.size.height, 0.25);
}

TEST(RectDictionaryTest, WholeNumbersMakeARectangleToo) {
    DictionaryEntries entries;
    for (const CFStringRef key : {CFSTR("Height"), CFSTR("Width"), CFSTR("Y"), CFSTR("X")})
        entries.add(key, createNumber(std::int64_t{8}));
    CGRect rect = CGRectMake(0, 0, 0, 0);
    ASSERT_TRUE(CGRectMakeWithDictionaryRepresentation(entries.createDictionary().get(), &rect));
    EXPECT_EQ(rect.origin.y, 8);
    EXPECT_EQ(rect.size.height, 8);
}

TEST(RectDictionaryTest, WhatHoldsNoRectangleIsRefused) {
    DictionaryEntries incomplete;
    DictionaryEntries ofText;
    for (const CFStringRef key : {CFSTR("X"), CFSTR("Y"), CFSTR("Width")}) {
        incomplete.add(key, createNumber(1.0));
        ofText.add(key, createNumber(1.0));
    }
    ofText.add(CFSTR("Height"), createString("1"));
    CGRect rect = CGRectMake(1, 2, 3, 4);
    EXPECT_FALSE(CGRectMakeWithDictionaryRepresentation(nullptr, &rect));
    EXPECT_FALSE(
        CGRectMakeWithDictionaryRepresentation(incomplete.createDictionary().get(), &rect));
    EXPECT_FALSE(CGRectMakeWithDictionaryRepresentation(ofText.createDictionary().get(), &rect));
    EXPECT_EQ(rect.origin.x, 1);
    EXPECT_EQ(rect.size.height, 4);
}

TEST(DictionaryEntriesTest, DictionaryFindsEachValueAndHoldsIt) {
    DictionaryEntries entries;
    entries.add(CFSTR("one"), createNumber(1.0));
    entries.add(CFSTR("two"), createString("zwei"));
    const auto dictionary = entries.createDictionary();
    const auto* two =
        static_cast<CFStringRef>(CFDictionaryGetValue(dictionary.get(), CFSTR("two")));
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(two->text, "zwei");
    EXPECT_NE(CFDictionaryGetValue(dictionary.get(), CFSTR("one")), nullptr);
}

TEST(DictionaryEntriesTest, ValueThatCouldNotBeMadeLeavesNoDictionary) {
    DictionaryEntries entries;
    entries.add(CFSTR("one"), createNumber(1.0));
    entries.add(CFSTR("two"), nullptr);
    EXPECT_EQ(entries.createDictionary(), nullptr);
}

}  // namespace
