#include <array>
#include <utility>

#include "shared_by_images.h"

namespace {

constexpr std::size_t kMostImages = 8;
const char* initialised[kMostImages + 1] = {};
std::size_t initialisedCount = 0;

int argumentCount = -1;
const char* firstArgument = nullptr;
const char* executable = nullptr;

template <std::size_t... I>
constexpr std::array<int, sizeof...(I)> numbersUpTo(std::index_sequence<I...>) {
    return {static_cast<int>(I)...};
}

std::array<int, kTableSize> numbers = numbersUpTo(std::make_index_sequence<kTableSize>());

template <std::size_t... I>
constexpr std::array<int*, sizeof...(I)> pointersTo(std::index_sequence<I...>) {
    return {&numbers[I]...};
}

constinit const std::array<int*, kTableSize> constantPointers =
    pointersTo(std::make_index_sequence<kTableSize>());
constinit std::array<int*, kTableSize> writablePointers =
    pointersTo(std::make_index_sequence<kTableSize>());

char zeroed[kZeroedSize];

thread_local int threadVariable = 23;

__attribute__((constructor)) void initialise(int argc, const char** argv, const char**,
                                             const char** forLibraries) {
    argumentCount = argc;
    firstArgument = argv[0];
    executable = forLibraries[0];
    noteInitialised("lower");
}

}  // namespace

SharedPlaces placesSeenByLower() {
    return {&sharedCounter(), &sharedVariable, &sharedCounter};
}

void noteInitialised(const char* image) {
    if (initialisedCount < kMostImages) {
        initialised[initialisedCount++] = image;
    }
}

const char* const* initialisedImages() {
    return initialised;
}

int argumentCountSeenByLower() {
    return argumentCount;
}

const char* firstArgumentSeenByLower() {
    return firstArgument;
}

const char* executableSeenByLower() {
    return executable;
}

void throwLowerError(int number) {
    throw LowerError{number};
}

int numberOfLower() {
    return 1;
}

int contestedNumber() {
    return 51;
}

int overridableNumber() {
    return 20;
}

const int* const* constantTable() {
    return constantPointers.data();
}

int** writableTable() {
    return writablePointers.data();
}

char* zeroedBytes() {
    return zeroed;
}

int* threadVariableOfLower() {
    return &threadVariable;
}
