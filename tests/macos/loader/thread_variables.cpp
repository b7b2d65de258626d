#include "thread_variables.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "load_error.h"
#include "macho_format.h"

// This C library runs these before the destructors of the thread's keys, newest first, in the main
// thread at exit(), and goes on with those that are registered meanwhile: all as macOS does.
extern "C" int __cxa_thread_atexit_impl(void (*destructor)(void*), void* object, void* library);
extern "C" void* __dso_handle;

// The call of a descriptor's thunk: the descriptor in rdi, the variable's address out in rax, and
// every other register as it was, vectors included, since compilers count on it.
extern "C" void machoThreadVariable();

namespace macho {
namespace {

constexpr size_t kMostImages = 256;

// What a thread's copy of an image's variables starts as.
struct Template {
    const uint8_t* contents;
    uint64_t size;
    uint64_t alignment;

    // Variables keep the alignment that they have in the image.
    [[nodiscard]] uint64_t lead() const { return reinterpret_cast<uint64_t>(contents) % alignment; }
};

// By the key in the descriptors. Does not change once threads run.
std::vector<Template>& templates() {
    static std::vector<Template> all;
    return all;
}

[[noreturn]] void giveUp(const char* message) {
    std::fprintf(stderr, "macho_run: %s\n", message);
    _exit(127);
}

}  // namespace
}  // namespace macho

// The blocks of the running thread by key; null where there is none yet.
extern "C" {
__attribute__((visibility(
    "hidden"))) constinit thread_local uint8_t* machoThreadBlocks[macho::kMostImages] = {};
}

namespace macho {
namespace {

void freeBlocks(void*) {
    for (size_t key = 0; key < templates().size(); ++key) {
        uint8_t* const block = machoThreadBlocks[key];
        if (block != nullptr) {
            machoThreadBlocks[key] = nullptr;
            std::free(block - templates()[key].lead());
        }
    }
}

// A key's destructors run again when others, run after it, made blocks anew.
void freeBlocksAtThreadEnd() {
    static const pthread_key_t key = [] {
        pthread_key_t made = 0;
        if (pthread_key_create(&made, freeBlocks) != 0) {
            giveUp("no key left for thread-local variables");
        }
        return made;
    }();
    pthread_setspecific(key, machoThreadBlocks);
}

bool isThreadLocal(const Section& section) {
    return section.kind == kThreadContents || section.kind == kThreadZeroed;
}

Template templateOf(const Image& image) {
    uint64_t begin = UINT64_MAX;
    uint64_t end = 0;
    uint64_t alignment = alignof(void*);
    for (const Segment& segment : image.commands().segments) {
        for (const Section& section : segment.sections) {
            if (isThreadLocal(section)) {
                begin = std::min(begin, section.address);
                end = std::max(end, section.address + section.size);
                alignment = std::max(alignment, section.alignment);
            }
        }
    }
    if (begin >= end) {
        return {nullptr, 0, alignment};
    }
    if (!image.memory().covers(begin, end - begin)) {
        throw LoadError("its thread-local contents lie in more than one segment");
    }
    return {image.memory().at(begin), end - begin, alignment};
}

void readyDescriptors(const Image& image, const Section& section, uint64_t key, uint64_t size) {
    if (section.size % sizeof(ThreadVariableDescriptor) != 0) {
        throw LoadError("section " + section.name + " ends within a descriptor");
    }
    uint8_t* const start = image.memory().at(section.address);
    for (uint64_t at = 0; at < section.size; at += sizeof(ThreadVariableDescriptor)) {
        ThreadVariableDescriptor descriptor;
        std::memcpy(&descriptor, start + at, sizeof(descriptor));
        if (descriptor.offset > size) {
            throw LoadError("a thread-local variable lies outside the thread-local contents");
        }
        descriptor.thunk = reinterpret_cast<void*>(&machoThreadVariable);
        descriptor.key = key;
        std::memcpy(start + at, &descriptor, sizeof(descriptor));
    }
}

}  // namespace

void adoptThreadVariables(Image& image) {
    std::vector<const Section*> descriptors;
    for (const Segment& segment : image.commands().segments) {
        for (const Section& section : segment.sections) {
            if (section.kind == kThreadDescriptors && (segment.protection & kWritable) == 0) {
                throw LoadError("descriptors of thread-local variables are not writable");
            }
            if (section.kind == kThreadDescriptors) {
                descriptors.push_back(&section);
            }
        }
    }
    if (descriptors.empty()) {
        return;
    }
    if (templates().size() == kMostImages) {
        throw LoadError("too many images have thread-local variables");
    }
    const uint64_t key = templates().size();
    templates().push_back(templateOf(image));
    for (const Section* const section : descriptors) {
        readyDescriptors(image, *section, key, templates()[key].size);
    }
}

void* machoThreadVariableTooEarly(void*) {
    giveUp("a thread-local variable is used whose descriptor was not readied");
}

void machoAtThreadExit(void (*destructor)(void*), void* object) {
    if (__cxa_thread_atexit_impl(destructor, object, &__dso_handle) != 0) {
        giveUp("no memory for a thread-local variable's destructor");
    }
}

}  // namespace macho

// Makes the running thread's block for `key`.
extern "C" __attribute__((visibility("hidden"), used)) uint8_t* machoMakeThreadBlock(
    uint64_t key) noexcept {
    const macho::Template& model = macho::templates()[key];
    void* memory = nullptr;
    if (posix_memalign(&memory, model.alignment, model.lead() + model.size + 1) != 0) {
        macho::giveUp("no memory for thread-local variables");
    }
    uint8_t* const block = static_cast<uint8_t*>(memory) + model.lead();
    std::memcpy(block, model.contents, model.size);
    machoThreadBlocks[key] = block;
    macho::freeBlocksAtThreadEnd();
    return block;
}

// The short way, once the block is there, touches rax only. The long way keeps the registers that a
// called function may change: the general ones on the stack, the vector and floating-point ones by
// xsave, whose area (512 bytes, a header of 64 that must be clear, then the rest) is aligned to 64.
asm(R"(
    .pushsection .text
    .p2align 4
    .globl machoThreadVariable
    .hidden machoThreadVariable
    .type machoThreadVariable, @function
machoThreadVariable:
    movq    8(%rdi), %rax
    movq    %fs:machoThreadBlocks@tpoff(,%rax,8), %rax
    testq   %rax, %rax
    je      1f
    addq    16(%rdi), %rax
    ret
1:
    pushq   %rbp
    movq    %rsp, %rbp
    pushq   %rdi
    pushq   %rsi
    pushq   %rdx
    pushq   %rcx
    pushq   %r8
    pushq   %r9
    pushq   %r10
    pushq   %r11
    subq    $2752, %rsp
    andq    $-64, %rsp
    xorl    %edx, %edx
    movq    %rdx, 512(%rsp)
    movq    %rdx, 520(%rsp)
    movq    %rdx, 528(%rsp)
    movq    %rdx, 536(%rsp)
    movq    %rdx, 544(%rsp)
    movq    %rdx, 552(%rsp)
    movq    %rdx, 560(%rsp)
    movq    %rdx, 568(%rsp)
    movl    $0xe7, %eax
    xsave   (%rsp)
    movq    8(%rdi), %rdi
    call    machoMakeThreadBlock
    movq    %rax, %r10
    xorl    %edx, %edx
    movl    $0xe7, %eax
    xrstor  (%rsp)
    movq    %r10, %rax
    leaq    -64(%rbp), %rsp
    popq    %r11
    popq    %r10
    popq    %r9
    popq    %r8
    popq    %rcx
    popq    %rdx
    popq    %rsi
    popq    %rdi
    popq    %rbp
    addq    16(%rdi), %rax
    ret
    .size machoThreadVariable, .-machoThreadVariable
    .popsection
)");
