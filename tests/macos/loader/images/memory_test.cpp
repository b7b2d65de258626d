#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "shared_by_images.h"

namespace {

// What this system lets be done with the page at an address, as it writes it: "r-xp".
std::string accessTo(const void* address) {
    const std::unique_ptr<FILE, int (*)(FILE*)> maps(fopen("/proc/self/maps", "r"), &fclose);
    char line[1024];
    while (maps != nullptr && fgets(line, sizeof(line), maps.get()) != nullptr) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char access[5] = {};
        if (sscanf(line, "%lx-%lx %4s", &begin, &end, access) == 3 &&
            reinterpret_cast<unsigned long>(address) >= begin &&
            reinterpret_cast<unsigned long>(address) < end) {
            return access;
        }
    }
    return "not mapped";
}

TEST(LoadedMemory, PointersThatAreConstantPointWhereTheyShould) {
    for (size_t i = 0; i < kTableSize; ++i) {
        ASSERT_EQ(*constantTable()[i], static_cast<int>(i));
    }
}

TEST(LoadedMemory, PointersThatAreVariablePointWhereTheyShould) {
    for (size_t i = 0; i < kTableSize; ++i) {
        ASSERT_EQ(*writableTable()[i], static_cast<int>(i));
    }
}

TEST(LoadedMemory, WhatTheFileDoesNotHoldIsZero) {
    const char* const bytes = zeroedBytes();
    EXPECT_TRUE(std::all_of(bytes, bytes + kZeroedSize, [](char byte) { return byte == 0; }));
}

TEST(LoadedMemory, CodeRunsAndIsNotWritten) {
    EXPECT_EQ(accessTo(reinterpret_cast<const void*>(&throwLowerError)), "r-xp");
}

TEST(LoadedMemory, VariablesAreWrittenAndDoNotRun) {
    EXPECT_EQ(accessTo(zeroedBytes()), "rw-p");
    EXPECT_EQ(accessTo(writableTable()), "rw-p");
}

// Where the linker keeps the address of a library's function for this image.
const void* placeOfBoundPointer() {
    const void* place = nullptr;
    asm("leaq _throwLowerError@GOTPCREL(%%rip), %0" : "=r"(place));
    return place;
}

TEST(LoadedMemory, PointersToOtherImagesAreReadOnlyOnceTheyAreSet) {
    const auto* const place = static_cast<const Callback*>(placeOfBoundPointer());
    EXPECT_EQ(reinterpret_cast<void*>(*place), reinterpret_cast<void*>(&throwLowerError));
    EXPECT_EQ(accessTo(place), "r--p");
}

TEST(LoadedMemory, NoPageIsWritableAndExecutable) {
    const std::unique_ptr<FILE, int (*)(FILE*)> maps(fopen("/proc/self/maps", "r"), &fclose);
    ASSERT_NE(maps, nullptr);
    char line[1024];
    int lines = 0;
    for (; fgets(line, sizeof(line), maps.get()) != nullptr; ++lines) {
        EXPECT_EQ(std::string(line).find(" rwx"), std::string::npos) << line;
    }
    EXPECT_GT(lines, 0);
}

}  // namespace
