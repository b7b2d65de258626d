#include "column_plan.h"

#include <pthread.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

#include "taps.h"

namespace qor::scaling {
namespace {

size_t blockSamples(const WindowShape& shape) {
    return shape.samples * shape.windows;
}

// The first sample of each block: one block after the other, the last one ending with the row.
template <typename Use>
void forEachBlock(size_t rowSamples, size_t samples, Use use) {
    for (size_t first = 0; first + samples < rowSamples; first += samples) {
        use(first);
    }
    use(rowSamples - samples);
}

void deletePlan(void* plan) {
    delete static_cast<ColumnPlan*>(plan);
}

}  // namespace

// No thread_local object: where there is no memory to note that one is to be destroyed, the C
// library ends the process.
ColumnPlan& ColumnPlan::ofThisThread() {
    static const pthread_key_t key = [] {
        pthread_key_t made{};
        if (pthread_key_create(&made, deletePlan) != 0) {
            throw std::bad_alloc();
        }
        return made;
    }();
    if (void* const present = pthread_getspecific(key); present != nullptr) {
        return *static_cast<ColumnPlan*>(present);
    }
    auto plan = std::make_unique<ColumnPlan>();
    if (pthread_setspecific(key, plan.get()) != 0) {
        throw std::bad_alloc();
    }
    return *plan.release();
}

void ColumnPlan::prepare(const RowKernels& kernels, int sourceWidth, int targetWidth,
                         int bytesPerPixel) {
    const Key key{&kernels, sourceWidth, targetWidth, bytesPerPixel};
    if (key == key_) {
        return;
    }
    key_ = key;
    try {
        fillTaps();
        chooseKernel();
    } catch (...) {
        key_ = {};
        throw;
    }
}

ColumnTables ColumnPlan::tables() {
    return {targets_.size(), targets_.data(), windows_.data(), filterBytes()};
}

// Of all of them, not of the first alone.
unsigned char* ColumnPlan::filterBytes() {
    return static_cast<unsigned char*>(static_cast<void*>(filters_.data()));
}

void ColumnPlan::fillTaps() {
    taps_.resize(static_cast<size_t>(key_.targetWidth));
    for (int x = 0; x < key_.targetWidth; ++x) {
        taps_[static_cast<size_t>(x)] = tapAt(x, key_.sourceWidth, key_.targetWidth);
    }
    isCoarse_ =
        std::ranges::all_of(taps_, [](const Tap& tap) { return split(tap.weight).fine == 0; });
}

void ColumnPlan::chooseKernel() {
    kernel_ = nullptr;
    for (size_t i = 0; i < key_.kernels->bandCount; ++i) {
        const BandKernel* const kernel = key_.kernels->bands[i];
        if (fits(kernel->shape)) {
            fillTables(kernel->shape);
            kernel_ = kernel;
            return;
        }
    }
}

bool ColumnPlan::fits(const WindowShape& shape) const {
    constexpr size_t kMost = std::numeric_limits<uint32_t>::max();
    if (sourceBytes() < shape.windowBytes || targetBytes() < blockSamples(shape) ||
        sourceBytes() > kMost || targetBytes() > kMost) {
        return false;
    }
    bool fitsAll = true;
    forEachBlock(targetBytes(), blockSamples(shape), [&](size_t first) {
        for (size_t window = 0; window < shape.windows; ++window) {
            const Extent source = sourceOf(first + window * shape.samples, shape.samples);
            fitsAll = fitsAll && source.end - source.begin <= shape.windowBytes;
        }
    });
    return fitsAll;
}

void ColumnPlan::fillTables(const WindowShape& shape) {
    const size_t block = blockSamples(shape);
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every kernel has windows, of samples
    const size_t blocks = (targetBytes() + block - 1) / block;
    targets_.clear();
    windows_.clear();
    filters_.resize((blocks * block * 2 * 3 + sizeof(Aligned) - 1) / sizeof(Aligned));
    forEachBlock(targetBytes(), block, [&](size_t first) {
        targets_.push_back(static_cast<uint32_t>(first));
        for (size_t i = 0; i < shape.windows; ++i) {
            addWindow(windows_.size(), first + shape.order[i] * shape.samples, shape);
        }
    });
}

void ColumnPlan::addWindow(size_t index, size_t firstSample, const WindowShape& shape) {
    const size_t wanted = sourceOf(firstSample, shape.samples).begin;
    const size_t window = std::min(wanted, sourceBytes() - shape.windowBytes);
    windows_.push_back(static_cast<uint32_t>(window));
    const size_t block = blockSamples(shape);
    const size_t windowsOfHalf = shape.windows / 2;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): every kernel has two windows or more
    unsigned char* const filter = filterBytes() + 3 * block * (index / windowsOfHalf);
    const size_t firstPair = 2 * shape.samples * (index % windowsOfHalf);
    for (size_t i = 0; i < shape.samples; ++i) {
        setSample(filter + firstPair + 2 * i, block, firstSample + i, window);
    }
}

void ColumnPlan::setSample(unsigned char* pair, size_t block, size_t sample, size_t window) {
    const Tap& tap = tapOf(sample);
    const SplitWeight weight = split(tap.weight);
    pair[0] = static_cast<unsigned char>(sourceByte(tap.first, sample) - window);
    pair[1] = static_cast<unsigned char>(sourceByte(tap.second, sample) - window);
    pair[block] = static_cast<unsigned char>(kCoarseOne - weight.coarse);
    pair[block + 1] = static_cast<unsigned char>(weight.coarse);
    pair[2 * block] = static_cast<unsigned char>(-weight.fine);
    pair[2 * block + 1] = static_cast<unsigned char>(weight.fine);
}

const Tap& ColumnPlan::tapOf(size_t sample) const {
    return taps_[sample / static_cast<size_t>(key_.bytesPerPixel)];
}

size_t ColumnPlan::sourceByte(int32_t pixel, size_t sample) const {
    const auto channels = static_cast<size_t>(key_.bytesPerPixel);
    return static_cast<size_t>(pixel) * channels + sample % channels;
}

ColumnPlan::Extent ColumnPlan::sourceOf(size_t firstSample, size_t samples) const {
    Extent extent{sourceBytes(), 0};
    for (size_t sample = firstSample; sample < firstSample + samples; ++sample) {
        const Tap& tap = tapOf(sample);
        extent.begin = std::min(extent.begin, sourceByte(tap.first, sample));
        extent.end = std::max(extent.end, sourceByte(tap.second, sample) + 1);
    }
    return extent;
}

size_t ColumnPlan::sourceBytes() const {
    return static_cast<size_t>(key_.sourceWidth) * static_cast<size_t>(key_.bytesPerPixel);
}

size_t ColumnPlan::targetBytes() const {
    return static_cast<size_t>(key_.targetWidth) * static_cast<size_t>(key_.bytesPerPixel);
}

}  // namespace qor::scaling
