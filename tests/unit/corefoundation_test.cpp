/* Reference counting, arrays, dictionaries, strings, data, localisations and the calendar clock. */
#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <mach/clock.h>
#include <mach/mach.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "corefoundation/cf_data.h"
#include "corefoundation/cf_dictionary.h"
#include "corefoundation/cf_string.h"

namespace {

using qor::corefoundation::create;
using qor::corefoundation::createString;
using qor::corefoundation::Object;
using qor::corefoundation::Reference;

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
using Array = std::unique_ptr<__CFArray, Release>;

Array objectArray() {
    return Array(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
}

Array plainArray(const std::vector<std::uintptr_t>& values) {
    Array array(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
    for (const std::uintptr_t value : values)
        CFArrayAppendValue(array.get(), reinterpret_cast<const void*>(value));
    return array;
}

std::vector<std::uintptr_t> valuesOf(CFArrayRef array) {
    std::vector<std::uintptr_t> values;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        values.push_back(reinterpret_cast<std::uintptr_t>(CFArrayGetValueAtIndex(array, i)));
    return values;
}

/* An object that tells when it is freed. */
class Witness final : public Object {
  public:
    explicit Witness(bool& freed) : freed_(freed) {}
    ~Witness() override { freed_ = true; }

  private:
    bool& freed_;
};

TEST(ReferenceTest, LastReleaseFreesTheObject) {
    bool freed = false;
    const CFTypeRef object = create<Witness>(freed).release();
    EXPECT_EQ(CFRetain(object), object);
    CFRelease(object);
    EXPECT_FALSE(freed);
    CFRelease(object);
    EXPECT_TRUE(freed);
}

TEST(ReferenceTest, ReferencesMayBeTakenAndGivenBackOnAllThreads) {
    bool freed = false;
    const CFTypeRef object = create<Witness>(freed).release();
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([object] {
                for (int j = 0; j < 5000; ++j)
                    CFRelease(CFRetain(object));
            });
    }
    EXPECT_FALSE(freed);
    CFRelease(object);
    EXPECT_TRUE(freed);
}

// The assertion's words, and those of a sanitizer that notices before it.
constexpr const char* kNoObject = "not .*an object";

TEST(ReferenceDeathTest, PointerToSomethingElseIsNoticed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    alignas(Object) static std::array<std::byte, sizeof(Object)> notAnObject{};
    EXPECT_DEATH(CFRetain(notAnObject.data()), kNoObject);
    EXPECT_DEATH(CFRelease(notAnObject.data()), kNoObject);
}

TEST(ReferenceDeathTest, ReleaseTooManyIsNoticed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The memory stays, as an object's may, so that what is noticed is the object's end.
    alignas(__CFString) static std::array<std::byte, sizeof(__CFString)> memory;
    const auto* string = new (memory.data()) __CFString("text");
    std::destroy_at(string);
    EXPECT_DEATH(CFRelease(memory.data()), kNoObject);
}

TEST(ArrayTest, StartsEmptyAndKeepsTheOrderOfWhatIsAppended) {
    EXPECT_EQ(CFArrayGetCount(plainArray({}).get()), 0);
    EXPECT_EQ(valuesOf(plainArray({3, 0, 3, 1}).get()), (std::vector<std::uintptr_t>{3, 0, 3, 1}));
}

TEST(ArrayTest, RemovalMovesWhatIsBehindIt) {
    for (const CFIndex index : {0, 1, 2}) {
        std::vector<std::uintptr_t> expected{7, 8, 9};
        const Array array = plainArray(expected);
        CFArrayRemoveValueAtIndex(array.get(), index);
        expected.erase(expected.begin() + index);
        EXPECT_EQ(valuesOf(array.get()), expected);
    }
}

TEST(ArrayTest, CopyIsIndependentOfTheOriginal) {
    const Array original = plainArray({7, 8});
    const Array copy(CFArrayCreateMutableCopy(kCFAllocatorDefault, 0, original.get()));
    CFArrayRemoveValueAtIndex(copy.get(), 0);
    EXPECT_EQ(valuesOf(original.get()), (std::vector<std::uintptr_t>{7, 8}));
    EXPECT_EQ(valuesOf(copy.get()), (std::vector<std::uintptr_t>{8}));
}

TEST(ArrayTest, HoldsAReferenceToAnObjectUntilItIsRemoved) {
    bool freed = false;
    const Array array = objectArray();
    auto object = create<Witness>(freed);
    CFArrayAppendValue(array.get(), object.get());
    object.reset();
    EXPECT_FALSE(freed);
    CFArrayRemoveValueAtIndex(array.get(), 0);
    EXPECT_TRUE(freed);
}

TEST(ArrayTest, CopyHoldsReferencesOfItsOwn) {
    bool freed = false;
    Array original = objectArray();
    CFArrayAppendValue(original.get(), create<Witness>(freed).get());
    Array copy(CFArrayCreateMutableCopy(kCFAllocatorDefault, 0, original.get()));
    original.reset();
    EXPECT_FALSE(freed);
    copy.reset();
    EXPECT_TRUE(freed);
}

TEST(DictionaryTest, FindsAValueByEqualKey) {
    const auto value = createString("value");
    const auto dictionary = create<const __CFDictionary>(CFSTR("key"), value.get());
    const auto key = createString("key");
    EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), key.get()), value.get());
    EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), CFSTR("Key")), nullptr);
    EXPECT_EQ(CFDictionaryGetValue(create<const __CFDictionary>().get(), key.get()), nullptr);
}

TEST(DictionaryTest, AppliesAFunctionToEachPair) {
    const auto value = createString("value");
    const auto dictionary = create<const __CFDictionary>(CFSTR("key"), value.get());
    const Array keys = objectArray();
    CFDictionaryApplyFunction(
        dictionary.get(),
        [](const void* key, const void*, void* context) {
            CFArrayAppendValue(static_cast<CFMutableArrayRef>(context), key);
        },
        keys.get());
    ASSERT_EQ(CFArrayGetCount(keys.get()), 1);
    EXPECT_EQ(CFArrayGetValueAtIndex(keys.get(), 0), CFSTR("key"));
}

TEST(DictionaryTest, HoldsAReferenceToItsValue) {
    bool freed = false;
    auto value = create<Witness>(freed);
    auto dictionary = create<const __CFDictionary>(CFSTR("key"), value.get());
    value.reset();
    EXPECT_FALSE(freed);
    dictionary.reset();
    EXPECT_TRUE(freed);
}

TEST(StringTest, LiteralOfTheSameTextIsTheSameObject) {
    EXPECT_EQ(CFSTR("text"), CFSTR("text"));
    EXPECT_NE(CFSTR("text"), CFSTR("other"));
}

TEST(StringTest, LiteralLivesHoweverOftenItIsReleased) {
    const CFStringRef literal = CFSTR("a literal");
    CFRelease(literal);
    CFRelease(literal);
    EXPECT_EQ(CFStringCompare(literal, CFSTR("a literal"), 0), kCFCompareEqualTo);
}

TEST(StringTest, FitsWithItsTerminatorOrNotAtAll) {
    const auto string = createString("gr\xc3\xbcn");  // five bytes
    std::array<char, 8> buffer;
    buffer.fill('x');
    EXPECT_FALSE(CFStringGetCString(string.get(), buffer.data(), 5, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[5], 'x');
    EXPECT_TRUE(CFStringGetCString(string.get(), buffer.data(), 6, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer.data(), "gr\xc3\xbcn");
}

TEST(StringTest, OtherEncodingsAndNoRoomAreRefused) {
    char buffer[8] = "before";
    EXPECT_FALSE(CFStringGetCString(CFSTR("text"), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "before");
    EXPECT_FALSE(CFStringGetCString(CFSTR("text"), buffer, sizeof buffer, 0x0600));
    EXPECT_STREQ(buffer, "");
}

struct Comparison {
    const char* first;
    const char* second;
    CFStringCompareFlags options;
    CFComparisonResult result;
};

TEST(StringTest, OrdersByCharacterAndIgnoresCaseOnRequest) {
    for (const Comparison& comparison :
         {Comparison{"abc", "abc", 0, kCFCompareEqualTo},
          {"abc", "abd", 0, kCFCompareLessThan},
          {"abd", "abc", 0, kCFCompareGreaterThan},
          {"ab", "abc", 0, kCFCompareLessThan},
          {"Abc", "abc", 0, kCFCompareLessThan},
          {"aBC", "Abc", kCFCompareCaseInsensitive, kCFCompareEqualTo},
          {"aBD", "Abc", kCFCompareCaseInsensitive, kCFCompareGreaterThan},
          {"[", "{", kCFCompareCaseInsensitive, kCFCompareLessThan},
          {"a", "\xc3\xa4", 0, kCFCompareLessThan}})
        EXPECT_EQ(CFStringCompare(createString(comparison.first).get(),
                                  createString(comparison.second).get(), comparison.options),
                  comparison.result)
            << comparison.first << " and " << comparison.second;
}

TEST(DataTest, LendsTheBytesItSharesAndLetsThemGo) {
    const auto bytes = std::make_shared<std::array<std::byte, 3>>();
    const std::shared_ptr<const std::byte> start(bytes, bytes->data());
    auto data = create<const __CFData>(start, bytes->size());
    EXPECT_EQ(static_cast<const void*>(CFDataGetBytePtr(data.get())), bytes->data());
    EXPECT_EQ(CFDataGetLength(data.get()), 3);
    EXPECT_EQ(bytes.use_count(), 3);
    data.reset();
    EXPECT_EQ(bytes.use_count(), 2);
}

struct LocaleCase {
    const char* all;
    const char* messages;
    const char* lang;
    std::vector<const char*> offered;
    const char* chosen;
};

void setOrUnset(const char* name, const char* value) {
    if (value == nullptr)
        unsetenv(name);
    else
        setenv(name, value, 1);
}

class LocalizationTest : public testing::TestWithParam<LocaleCase> {};

TEST_P(LocalizationTest, SuitsTheEnvironmentBest) {
    setOrUnset("LC_ALL", GetParam().all);
    setOrUnset("LC_MESSAGES", GetParam().messages);
    setOrUnset("LANG", GetParam().lang);
    const Array offered = objectArray();
    for (const char* name : GetParam().offered)
        CFArrayAppendValue(offered.get(), createString(name).get());
    const std::unique_ptr<const __CFArray, Release> chosen(
        CFBundleCopyPreferredLocalizationsFromArray(offered.get()));
    ASSERT_EQ(CFArrayGetCount(chosen.get()), 1);
    const auto name = static_cast<CFStringRef>(CFArrayGetValueAtIndex(chosen.get(), 0));
    EXPECT_EQ(name->text, GetParam().chosen);
}

INSTANTIATE_TEST_SUITE_P(
    Environments, LocalizationTest,
    testing::Values(
        LocaleCase{nullptr, nullptr, nullptr, {"fr_FR", "de_DE"}, "fr_FR"},
        LocaleCase{nullptr, nullptr, "C", {"fr_FR", "de_DE"}, "fr_FR"},
        LocaleCase{nullptr, nullptr, "de_DE.UTF-8", {"fr_FR", "de_DE"}, "de_DE"},
        LocaleCase{nullptr, nullptr, "de_DE@euro", {"fr_FR", "de_DE"}, "de_DE"},
        LocaleCase{nullptr, nullptr, "de_AT.UTF-8", {"fr_FR", "de_DE", "de_CH"}, "de_DE"},
        LocaleCase{nullptr, nullptr, "de_AT.UTF-8", {"fr_FR", "de_DE", "de_AT"}, "de_AT"},
        LocaleCase{nullptr, nullptr, "de", {"fr_FR", "de-DE"}, "de-DE"},
        LocaleCase{nullptr, nullptr, "ja_JP.UTF-8", {"en_US", "de_DE"}, "en_US"},
        LocaleCase{nullptr, "de_DE", "fr_FR", {"fr_FR", "de_DE"}, "de_DE"},
        LocaleCase{"fr_FR", "de_DE", "de_DE", {"de_DE", "fr_FR"}, "fr_FR"},
        LocaleCase{"", "", "de_DE", {"fr_FR", "de_DE"}, "de_DE"}));

TEST(LocalizationTest, NothingOfferedGivesNothing) {
    const Array offered = objectArray();
    const std::unique_ptr<const __CFArray, Release> chosen(
        CFBundleCopyPreferredLocalizationsFromArray(offered.get()));
    ASSERT_NE(chosen, nullptr);
    EXPECT_EQ(CFArrayGetCount(chosen.get()), 0);
}

TEST(ClockTest, CalendarClockShowsTheTimeOfDay) {
    clock_serv_t clock = MACH_PORT_NULL;
    ASSERT_EQ(host_get_clock_service(mach_host_self(), CALENDAR_CLOCK, &clock), KERN_SUCCESS);
    const std::time_t before = std::time(nullptr);
    mach_timespec_t time{};
    EXPECT_EQ(clock_get_time(clock, &time), KERN_SUCCESS);
    EXPECT_GE(time.tv_sec, static_cast<unsigned>(before));
    EXPECT_LE(time.tv_sec, static_cast<unsigned>(before) + 5);
    EXPECT_LT(time.tv_nsec, 1'000'000'000);
    EXPECT_EQ(mach_port_deallocate(mach_task_self(), clock), KERN_SUCCESS);
}

TEST(ClockTest, OtherClocksAreRefused) {
    clock_serv_t clock = 99;
    EXPECT_EQ(host_get_clock_service(mach_host_self(), 0, &clock), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(clock, clock_serv_t{MACH_PORT_NULL});
    mach_timespec_t time{1, 2};
    EXPECT_EQ(clock_get_time(clock, &time), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(time.tv_sec, 1U);
}

}  // namespace
