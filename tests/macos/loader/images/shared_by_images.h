// What two libraries and a program of the loader's tests share: liblower.dylib, libupper.dylib over
// it, and the test program over both.
#ifndef SHARED_BY_IMAGES_H
#define SHARED_BY_IMAGES_H

#include <cstddef>

#define IN_EVERY_IMAGE __attribute__((visibility("default")))
#define EXPORTED extern "C" __attribute__((visibility("default")))

// Thrown from one image and caught in another. Each image has a description of the type, and they
// must be made one.
struct IN_EVERY_IMAGE LowerError {
    int number;
};

// Each image has a copy of these, and the process must end up with one.
IN_EVERY_IMAGE inline int& sharedCounter() {
    static int counter = 40;
    return counter;
}
inline int sharedVariable IN_EVERY_IMAGE = 7;

struct SharedPlaces {
    int* counter;
    int* variable;
    int& (*function)();
};

EXPORTED SharedPlaces placesSeenByLower();
EXPORTED SharedPlaces placesSeenByUpper();

// A place in the order in which the images were initialised; names are kept, not copied.
EXPORTED void noteInitialised(const char* image);
EXPORTED const char* const* initialisedImages();
// What lower's initialiser was given.
EXPORTED int argumentCountSeenByLower();
EXPORTED const char* firstArgumentSeenByLower();
EXPORTED const char* executableSeenByLower();

EXPORTED void throwLowerError(int number);
EXPORTED int numberCaughtInUpper(int number);
// Calls back and lets what is thrown pass; counts what was cleaned up on the way.
EXPORTED void passThroughUpper(void (*callback)());
EXPORTED int cleanedUpInUpper();

// Functions whose frames an unwinder has to take apart in different ways.
using Callback = void (*)();
EXPORTED void throughFramePointer(Callback callback);
EXPORTED void throughSmallFrame(Callback callback);
EXPORTED void throughFullFrame(Callback callback);
EXPORTED void throughLargeFrame(Callback callback);
EXPORTED void throughGrowingFrame(Callback callback);
EXPORTED void throughRecordedFrame(Callback callback);
EXPORTED int cleanedUpInFrames();

// Defined in lower, once more in the program, and called from upper.
EXPORTED int numberOfLower();
EXPORTED int numberSeenByUpper();
// Weak in upper, strong in lower; called from upper.
EXPORTED int overridableNumber();
EXPORTED int overridableNumberSeenByUpper();

// Defined in lower, and in a library that is loaded before it; upper asks for lower's.
EXPORTED int contestedNumber();
EXPORTED int contestedNumberSeenByUpper();

// More pointers than fit on a page, each to the number of its place.
constexpr std::size_t kTableSize = 2000;
EXPORTED const int* const* constantTable();
EXPORTED int** writableTable();
constexpr std::size_t kZeroedSize = 5 * 4096 + 123;
EXPORTED char* zeroedBytes();

EXPORTED int* threadVariableOfLower();

#endif
