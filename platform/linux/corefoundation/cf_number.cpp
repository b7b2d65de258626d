#include "corefoundation/cf_number.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace {

enum class Storage { int32, int64, real, unsupported };

Storage storageOf(CFNumberType type) {
    switch (type) {
        case kCFNumberSInt32Type:
        case kCFNumberIntType:
            return Storage::int32;
        case kCFNumberSInt64Type:
        case kCFNumberLongLongType:
            return Storage::int64;
        case kCFNumberFloat64Type:
        case kCFNumberDoubleType:
        case kCFNumberCGFloatType:
            return Storage::real;
    }
    return Storage::unsupported;
}

template <typename T>
T readAs(const void* source) {
    T value;
    std::memcpy(&value, source, sizeof value);
    return value;
}

/* A value as the type can hold it, and whether that is the value itself. */
template <typename T>
struct Converted {
    T value;
    bool isExact;
};

template <typename Whole>
Converted<Whole> toWhole(std::int64_t whole) {
    using Limits = std::numeric_limits<Whole>;
    if (whole < Limits::min())
        return {Limits::min(), false};
    if (whole > Limits::max())
        return {Limits::max(), false};
    return {static_cast<Whole>(whole), true};
}

template <typename Whole>
Converted<Whole> toWhole(double real) {
    using Limits = std::numeric_limits<Whole>;
    // A power of two, which the greatest value itself, one less, may not be as a double.
    constexpr double kBeyond = -static_cast<double>(Limits::min());
    if (real >= kBeyond)
        return {Limits::max(), false};
    if (real < -kBeyond)
        return {Limits::min(), false};
    if (std::isnan(real))
        return {0, false};
    const auto whole = static_cast<Whole>(real);
    return {whole, static_cast<double>(whole) == real};
}

Converted<double> toReal(double real) {
    return {real, true};
}

Converted<double> toReal(std::int64_t whole) {
    const auto real = static_cast<double>(whole);
    // Read back with care: it may have been rounded up to the first value beyond the integer's.
    const Converted<std::int64_t> back = toWhole<std::int64_t>(real);
    return {real, back.isExact && back.value == whole};
}

template <typename T>
bool writeTo(void* target, const Converted<T>& converted) {
    std::memcpy(target, &converted.value, sizeof converted.value);
    return converted.isExact;
}

template <typename T>
bool writeAs(Storage storage, T value, void* target) {
    switch (storage) {
        case Storage::int32:
            return writeTo(target, toWhole<std::int32_t>(value));
        case Storage::int64:
            return writeTo(target, toWhole<std::int64_t>(value));
        case Storage::real:
            return writeTo(target, toReal(value));
        case Storage::unsupported:
            break;
    }
    return false;
}

}  // namespace

// Never destroyed: code that runs at exit may still use them.
const CFBooleanRef kCFBooleanTrue = new (std::nothrow) __CFBoolean(true);
const CFBooleanRef kCFBooleanFalse = new (std::nothrow) __CFBoolean(false);

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return boolean->value;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    using qor::corefoundation::createNumber;
    switch (storageOf(theType)) {
        case Storage::int32:
            return createNumber(std::int64_t{readAs<std::int32_t>(valuePtr)}).release();
        case Storage::int64:
            return createNumber(readAs<std::int64_t>(valuePtr)).release();
        case Storage::real:
            return createNumber(readAs<double>(valuePtr)).release();
        case Storage::unsupported:
            break;
    }
    return nullptr;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    const Storage storage = storageOf(theType);
    return std::visit([&](auto value) { return writeAs(storage, value, valuePtr); }, number->value);
}
