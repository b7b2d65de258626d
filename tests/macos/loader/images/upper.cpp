#include "shared_by_images.h"

namespace {

int cleanedUp = 0;

struct Cleanup {
    ~Cleanup() { ++cleanedUp; }
};

__attribute__((constructor)) void initialise() {
    noteInitialised("upper");
}

}  // namespace

SharedPlaces placesSeenByUpper() {
    return {&sharedCounter(), &sharedVariable, &sharedCounter};
}

int numberCaughtInUpper(int number) {
    try {
        throwLowerError(number);
    } catch (const LowerError& error) {
        return error.number;
    }
    return 0;
}

void passThroughUpper(void (*callback)()) {
    const Cleanup first;
    const Cleanup second;
    callback();
}

// Built with a frame pointer, as all of this file is.
void throughFramePointer(Callback callback) {
    asm volatile("xorl %%r12d, %%r12d; xorl %%r14d, %%r14d" ::: "r12", "r14");
    callback();
    asm volatile("" ::: "r12", "r14");
}

int cleanedUpInUpper() {
    return cleanedUp;
}

int numberSeenByUpper() {
    return numberOfLower();
}

int contestedNumberSeenByUpper() {
    return contestedNumber();
}

EXPORTED __attribute__((weak)) int overridableNumber() {
    return 10;
}

int overridableNumberSeenByUpper() {
    return overridableNumber();
}
