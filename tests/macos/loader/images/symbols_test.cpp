#include <crt_externs.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mach-o/dyld.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "shared_by_images.h"

namespace {

constexpr int kNumberOfTheProgram = 100;

using NumberFunction = int (*)();

int call(void* function) {
    return function == nullptr ? -1 : reinterpret_cast<NumberFunction>(function)();
}

bool endsWith(const char* text, const std::string& end) {
    const std::string whole = text == nullptr ? "" : text;
    return whole.size() >= end.size() &&
           whole.compare(whole.size() - end.size(), end.size(), end) == 0;
}

// Before main, which takes the arguments away that are for the tests' framework.
const int argumentCount = [] {
    noteInitialised("program");
    return *_NSGetArgc();
}();

}  // namespace

// In front of lower's own function, for all images.
int numberOfLower() {
    return kNumberOfTheProgram;
}

namespace {

TEST(LoadedImages, AreInitialisedAfterThoseThatTheyNeed) {
    EXPECT_STREQ(initialisedImages()[0], "lower");
    EXPECT_STREQ(initialisedImages()[1], "upper");
    EXPECT_STREQ(initialisedImages()[2], "program");
    EXPECT_EQ(initialisedImages()[3], nullptr);
}

TEST(LoadedImages, InitialisersGetTheProgramsArguments) {
    EXPECT_EQ(argumentCountSeenByLower(), argumentCount);
    EXPECT_STREQ(firstArgumentSeenByLower(), (*_NSGetArgv())[0]);
    EXPECT_EQ(std::string(executableSeenByLower()).rfind("executable_path=/", 0), 0U);
}

TEST(LoadedImages, ShareOneVariableOfAnInlineFunction) {
    EXPECT_EQ(placesSeenByLower().counter, &sharedCounter());
    EXPECT_EQ(placesSeenByUpper().counter, &sharedCounter());
}

TEST(LoadedImages, ShareOneInlineVariable) {
    EXPECT_EQ(placesSeenByLower().variable, &sharedVariable);
    EXPECT_EQ(placesSeenByUpper().variable, &sharedVariable);
}

TEST(LoadedImages, ShareOneInlineFunction) {
    EXPECT_EQ(placesSeenByLower().function, &sharedCounter);
    EXPECT_EQ(placesSeenByUpper().function, &sharedCounter);
}

TEST(LoadedImages, AStrongDefinitionOverridesAWeakOneThatWasLoadedBeforeIt) {
    EXPECT_EQ(overridableNumberSeenByUpper(), 20);
}

TEST(LoadedImages, AFunctionOfTheProgramStandsInFrontOfALibrarys) {
    EXPECT_EQ(numberSeenByUpper(), kNumberOfTheProgram);
}

TEST(LoadedImages, AFunctionIsTakenFromTheLibraryThatItWasLinkedWith) {
    ASSERT_EQ(call(dlsym(RTLD_DEFAULT, "contestedNumber")), 52) << "the first that is loaded";
    EXPECT_EQ(contestedNumberSeenByUpper(), 51);
}

TEST(SymbolLookup, NextAfterTheProgramIsTheLibrarysFunction) {
    EXPECT_EQ(call(dlsym(RTLD_NEXT, "numberOfLower")), 1);
}

TEST(SymbolLookup, DefaultSelfAndMainBeginWithTheProgram) {
    EXPECT_EQ(call(dlsym(RTLD_DEFAULT, "numberOfLower")), kNumberOfTheProgram);
    EXPECT_EQ(call(dlsym(RTLD_SELF, "numberOfLower")), kNumberOfTheProgram);
    EXPECT_EQ(call(dlsym(RTLD_MAIN_ONLY, "numberOfLower")), kNumberOfTheProgram);
}

TEST(SymbolLookup, MainOnlyLooksInNoLibrary) {
    EXPECT_EQ(dlsym(RTLD_MAIN_ONLY, "numberSeenByUpper"), nullptr);
}

TEST(SymbolLookup, FindsTheSystemsFunctions) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "malloc"), reinterpret_cast<void*>(&malloc));
}

TEST(SymbolLookup, AHandleFindsTheLibrarysFunctionAndThoseOfWhatItNeeds) {
    void* const upper = dlopen("@rpath/libupper.dylib", RTLD_NOW);
    ASSERT_NE(upper, nullptr);
    EXPECT_EQ(call(dlsym(upper, "numberOfLower")), 1);
    EXPECT_EQ(call(dlsym(upper, "overridableNumber")), 10);
    EXPECT_EQ(dlclose(upper), 0);
}

TEST(SymbolLookup, SaysOnceWhatWasNotFound) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "noSuchFunction"), nullptr);
    const char* const error = dlerror();
    ASSERT_NE(error, nullptr);
    EXPECT_NE(std::string(error).find("noSuchFunction"), std::string::npos);
    EXPECT_EQ(dlerror(), nullptr);
}

TEST(SymbolLookup, OpensNothingThatIsNotLoaded) {
    EXPECT_EQ(dlopen("/nowhere/libabsent.dylib", RTLD_NOW), nullptr);
    ASSERT_NE(dlerror(), nullptr);
}

TEST(SymbolLookup, RefusesWhatIsNoHandle) {
    int notAHandle = 0;
    EXPECT_EQ(dlsym(&notAHandle, "malloc"), nullptr);
    EXPECT_NE(dlclose(&notAHandle), 0);
    ASSERT_NE(dlerror(), nullptr);
}

TEST(AddressLookup, NamesImageAndSymbol) {
    Dl_info info = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&throwLowerError), &info), 0);
    EXPECT_TRUE(endsWith(info.dli_fname, "/liblower.dylib")) << info.dli_fname;
    EXPECT_STREQ(info.dli_sname, "throwLowerError");
    EXPECT_EQ(info.dli_saddr, reinterpret_cast<void*>(&throwLowerError));
}

TEST(AddressLookup, FindsNoImageOnTheHeap) {
    Dl_info info = {};
    const std::vector<char> bytes(64);
    EXPECT_EQ(dladdr(bytes.data(), &info), 0);
}

TEST(ImageTable, ListsTheProgramFirstThenItsLibraries) {
    ASSERT_GE(_dyld_image_count(), 3U);
    char path[1024] = {};
    uint32_t size = sizeof(path);
    ASSERT_EQ(_NSGetExecutablePath(path, &size), 0);
    EXPECT_STREQ(_dyld_get_image_name(0), path);
    EXPECT_EQ(_dyld_get_image_name(_dyld_image_count()), nullptr);
}

TEST(ImageTable, KnowsWhereEachImageLies) {
    Dl_info info = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&endsWith), &info), 0);
    EXPECT_EQ(static_cast<const void*>(_dyld_get_image_header(0)), info.dli_fbase);
    // A program is linked for the address behind the gap of 4 GiB.
    EXPECT_EQ(reinterpret_cast<uintptr_t>(info.dli_fbase),
              0x100000000U + static_cast<uintptr_t>(_dyld_get_image_vmaddr_slide(0)));
}

TEST(ImageTable, TellsHowMuchRoomThePathTakes) {
    char path[4] = {};
    uint32_t size = sizeof(path);
    EXPECT_EQ(_NSGetExecutablePath(path, &size), -1);
    EXPECT_EQ(size, std::string(_dyld_get_image_name(0)).size() + 1);
}

}  // namespace
