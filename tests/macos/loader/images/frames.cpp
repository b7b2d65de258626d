// Built without frame pointers. What each function saves and how much stack it takes decide how its
// frame is described.
#include <alloca.h>

#include "shared_by_images.h"

namespace {

// The caller saves the registers, which are its callee's to keep, and loses what they held.
#define SPOIL_ALL_REGISTERS asm volatile("" ::: "rbx", "rbp", "r12", "r13", "r14", "r15")
#define SPOIL_SOME_REGISTERS \
    asm volatile("xorl %%r12d, %%r12d; xorl %%r14d, %%r14d" ::: "r12", "r14")

// Keeps the compiler from making the bytes fewer.
void use(void* bytes) {
    asm volatile("" : : "r"(bytes) : "memory");
}

int cleanedUp = 0;

struct Cleanup {
    ~Cleanup() { ++cleanedUp; }
};

}  // namespace

void throughSmallFrame(Callback callback) {
    char bytes[100];
    use(bytes);
    SPOIL_SOME_REGISTERS;
    callback();
    use(bytes);
}

void throughFullFrame(Callback callback) {
    SPOIL_ALL_REGISTERS;
    callback();
    SPOIL_ALL_REGISTERS;
}

void throughLargeFrame(Callback callback) {
    char bytes[100000];
    use(bytes);
    SPOIL_SOME_REGISTERS;
    callback();
    use(bytes);
}

void throughGrowingFrame(Callback callback) {
    alignas(64) char aligned[64];
    use(aligned);
    use(alloca(reinterpret_cast<std::size_t>(callback) % 1000));
    SPOIL_SOME_REGISTERS;
    callback();
    use(aligned);
}

// A statement that the short form of a frame's description has no room for: it takes the long one.
void throughRecordedFrame(Callback callback) {
    const Cleanup cleanup;
    asm volatile(".cfi_undefined %r11");
    SPOIL_SOME_REGISTERS;
    callback();
}

int cleanedUpInFrames() {
    return cleanedUp;
}
