#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "shared_by_images.h"

namespace {

thread_local int numbered = 42;
thread_local char zeroed[5000];
thread_local char text[64] = "initial contents";
alignas(64) thread_local char aligned[3] = {1, 2, 3};
int pointedAt = 9;
thread_local int* pointer = &pointedAt;

template <typename Function>
void inNewThread(const Function& function) {
    std::thread(function).join();
}

TEST(ThreadVariables, BeginInEachThreadAsTheImageSays) {
    numbered = 1;
    text[0] = 'X';
    zeroed[4999] = 1;
    inNewThread([] {
        EXPECT_EQ(numbered, 42);
        EXPECT_STREQ(text, "initial contents");
        EXPECT_TRUE(std::all_of(zeroed, zeroed + sizeof(zeroed), [](char c) { return c == 0; }));
        EXPECT_EQ(pointer, &pointedAt);
    });
    EXPECT_EQ(numbered, 1);
}

TEST(ThreadVariables, OfALibraryAreItsOwnInEachThread) {
    int* const mine = threadVariableOfLower();
    *mine = 5;
    inNewThread([=] {
        EXPECT_NE(threadVariableOfLower(), mine);
        EXPECT_EQ(*threadVariableOfLower(), 23);
        *threadVariableOfLower() = 6;
    });
    EXPECT_EQ(*mine, 5);
}

TEST(ThreadVariables, StayWhereTheyAreInAThread) {
    inNewThread([] {
        int* const first = &numbered;
        inNewThread([=] { EXPECT_NE(&numbered, first); });
        EXPECT_EQ(&numbered, first);
    });
}

TEST(ThreadVariables, AreAlignedAsTheyAsk) {
    inNewThread([] {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(aligned) % 64, 0U);
        EXPECT_EQ(aligned[2], 3);
    });
}

thread_local char large[256 * 1024];

long pagesInUse() {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen("/proc/self/statm", "r"), &fclose);
    long pages = 0;
    long resident = 0;
    return file != nullptr && fscanf(file.get(), "%ld %ld", &pages, &resident) == 2 ? resident : -1;
}

TEST(ThreadVariables, AreFreedWhenTheThreadEnds) {
    const auto useThem = [] { asm volatile("" : : "r"(&large[0]) : "memory"); };
    inNewThread(useThem);
    const long before = pagesInUse();
    ASSERT_GT(before, 0);
    constexpr int kThreads = 400;
    for (int i = 0; i < kThreads; ++i) {
        inNewThread(useThem);
    }
    EXPECT_LT((pagesInUse() - before) * 4096, kThreads / 4 * long{sizeof(large)});
}

std::string destroyed;

struct Noted {
    char name;
    explicit Noted(char ownName) : name(ownName) {}
    ~Noted() { destroyed += name; }
};

void useFirst() {
    thread_local const Noted first('1');
    asm volatile("" : : "r"(&first));
}

void useSecond() {
    thread_local const Noted second('2');
    asm volatile("" : : "r"(&second));
}

// Uses another such variable while it is destroyed itself.
struct Late {
    ~Late() {
        destroyed += 'L';
        useFirst();
    }
};

void useLate() {
    thread_local const Late late;
    asm volatile("" : : "r"(&late));
}

TEST(ThreadVariables, AreDestroyedWhenTheThreadEndsTheNewestFirst) {
    destroyed.clear();
    inNewThread([] {
        useFirst();
        useSecond();
        EXPECT_EQ(destroyed, "");
    });
    EXPECT_EQ(destroyed, "21");
}

TEST(ThreadVariables, ThatAreMadeByADestructorAreDestroyedAsWell) {
    destroyed.clear();
    inNewThread([] { useLate(); });
    EXPECT_EQ(destroyed, "L1");
}

// What the code that asks for a variable's address may count on finding unchanged: rcx, rdx, rsi,
// r8 to r11, xmm0 to xmm15. Each is given a number of its own before, and read back after.
struct Registers {
    uint64_t general[7];
    uint64_t vectors[16][2];
};

extern "C" thread_local int askedFor;
extern "C" __attribute__((visibility("hidden"))) void askForVariable(Registers* registers);

}  // namespace

extern "C" {
thread_local int askedFor = 77;
}

asm(R"(
    .text
    .globl _askForVariable
    .private_extern _askForVariable
_askForVariable:
    pushq   %rbx
    movq    %rdi, %rbx
    movq    (%rbx), %rcx
    movq    8(%rbx), %rdx
    movq    16(%rbx), %rsi
    movq    24(%rbx), %r8
    movq    32(%rbx), %r9
    movq    40(%rbx), %r10
    movq    48(%rbx), %r11
    .irp    number, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15
    movups  56+16*\number(%rbx), %xmm\number
    .endr
    movq    _askedFor@TLVP(%rip), %rdi
    callq   *(%rdi)
    movq    %rcx, (%rbx)
    movq    %rdx, 8(%rbx)
    movq    %rsi, 16(%rbx)
    movq    %r8, 24(%rbx)
    movq    %r9, 32(%rbx)
    movq    %r10, 40(%rbx)
    movq    %r11, 48(%rbx)
    .irp    number, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15
    movups  %xmm\number, 56+16*\number(%rbx)
    .endr
    popq    %rbx
    retq
)");

namespace {

TEST(ThreadVariables, AskingForOneTheFirstTimeKeepsEveryOtherRegister) {
    inNewThread([] {
        Registers registers;
        uint8_t byte = 0;
        for (size_t i = 0; i < sizeof(registers); ++i) {
            reinterpret_cast<uint8_t*>(&registers)[i] = ++byte;
        }
        const Registers before = registers;
        askForVariable(&registers);
        EXPECT_EQ(std::memcmp(&registers, &before, sizeof(before)), 0);
        EXPECT_EQ(askedFor, 77);
    });
}

}  // namespace
