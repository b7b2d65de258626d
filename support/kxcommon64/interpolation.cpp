// BilinearInterpolation: the shortest way to each pair of sizes.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "column_plan.h"
#include "kernels.h"
#include "means.h"
#include "reference.h"
#include "scaling.h"
#include "streaming.h"
#include "taps.h"

namespace qor::scaling {
namespace {

struct Size {
    int width;
    int height;
    bool operator==(const Size&) const = default;
};

bool isInMemory(Size size, int bytesPerPixel) {
    ptrdiff_t pixels = 0;
    ptrdiff_t bytes = 0;
    return size.width > 0 && size.height > 0 &&
           !__builtin_mul_overflow(size.width, size.height, &pixels) &&
           !__builtin_mul_overflow(pixels, bytesPerPixel, &bytes);
}

// Both weights of a blend as signed bytes, the first in the lower half.
int16_t pairOf(int first, int second) {
    return static_cast<int16_t>((second << 8) | (first & 0xFF));
}

class Interpolation {
  public:
    Interpolation(const RowKernels& kernels, const unsigned char* source, Size sourceSize,
                  unsigned char* target, Size targetSize, int bytesPerPixel, Stores stores)
        : kernels_(kernels),
          source_(source),
          sourceSize_(sourceSize),
          sourcePitch_(static_cast<size_t>(sourceSize.width) * static_cast<size_t>(bytesPerPixel)),
          target_(target),
          targetSize_(targetSize),
          targetPitch_(static_cast<size_t>(targetSize.width) * static_cast<size_t>(bytesPerPixel)),
          bytesPerPixel_(bytesPerPixel),
          stores_(kernels.streamBands && isWholeLines() ? stores : Stores::cached) {}

    void run() const {
        const bool hasRowKernels = makesRows(kernels_, targetPitch_);
        if (sourceSize_ == targetSize_) {
            std::memcpy(target_, source_, targetPitch_ * rowCount());
        } else if (hasRowKernels && isBetweenFour()) {
            takeMeans();
        } else if (hasRowKernels && sourceSize_.width == targetSize_.width) {
            blendRows();
        } else {
            filterColumns();
        }
    }

  private:
    bool isWholeLines() const {
        return reinterpret_cast<uintptr_t>(target_) % kLineBytes == 0 &&
               targetPitch_ % kLineBytes == 0;
    }
    size_t rowCount() const { return static_cast<size_t>(targetSize_.height); }
    const unsigned char* sourceRow(int32_t row) const {
        return source_ + static_cast<size_t>(row) * sourcePitch_;
    }
    unsigned char* targetRow(size_t row) const { return target_ + row * targetPitch_; }
    Tap rowTap(size_t row) const {
        return tapAt(static_cast<int>(row), sourceSize_.height, targetSize_.height);
    }

    // Whether every target pixel lies in the middle of four source pixels.
    bool isBetweenFour() const {
        const auto isBetweenTwo = [](int source, int target) {
            return source % target == 0 && source / target % 2 == 0;
        };
        return bytesPerPixel_ == kMeanChannels &&
               isBetweenTwo(sourceSize_.width, targetSize_.width) &&
               isBetweenTwo(sourceSize_.height, targetSize_.height);
    }

    void takeMeans() const {
        const auto columns = static_cast<size_t>(sourceSize_.width / targetSize_.width);
        const auto rows = static_cast<size_t>(sourceSize_.height / targetSize_.height);
        MeanBand all{};
        all.source = source_ + (rows / 2 - 1) * sourcePitch_ + (columns / 2 - 1) * kMeanChannels;
        all.sourcePitch = sourcePitch_;
        all.columnStep = columns * kMeanChannels;
        all.rowStep = rows * sourcePitch_;
        all.target = target_;
        all.targetPitch = targetPitch_;
        all.rowCount = rowCount();
        makeMeans(kernels_, all, targetPitch_);
    }

    void blendRows() const {
        forEachBand([&](const RowBand& band) { kernels_.blendRows(band, targetPitch_); });
    }

    void filterColumns() const {
        try {
            ColumnPlan& plan = ColumnPlan::ofThisThread();
            plan.prepare(kernels_, sourceSize_.width, targetSize_.width, bytesPerPixel_);
            filterBy(plan);
        } catch (...) {
            // Memory ran out. Whose std::bad_alloc it is depends on whose operator new the process
            // has: a library that holds a C++ library of its own does not know another's.
        }
    }

    void filterBy(ColumnPlan& plan) const {
        if (plan.kernel() == nullptr) {
            filterAsDefined(plan);
            return;
        }
        const auto scale = plan.isCoarse() ? plan.kernel()->scaleCoarse : plan.kernel()->scale;
        const ColumnTables tables = plan.tables();
        forEachBand([&](const RowBand& band) { scale(band, tables); });
        if (stores_ == Stores::streamed) {
            endStreaming();
        }
    }

    void filterAsDefined(const ColumnPlan& plan) const {
        for (size_t y = 0; y < rowCount(); ++y) {
            const Tap tap = rowTap(y);
            interpolateRow(sourceRow(tap.first), sourceRow(tap.second), tap.weight, plan.taps(),
                           bytesPerPixel_, targetRow(y));
        }
    }

    template <typename Use>
    void forEachBand(Use use) const {
        std::array<BandRow, kMostBandRows> rows{};
        const size_t most = bandRows();
        for (size_t y = 0; y < rowCount(); y += most) {
            const size_t count = std::min(most, rowCount() - y);
            for (size_t i = 0; i < count; ++i) {
                rows[i] = bandRow(rowTap(y + i));
            }
            use(RowBand{rows.data(), count, targetRow(y), targetPitch_, stores_});
        }
    }

    BandRow bandRow(const Tap& tap) const {
        const SplitWeight lower = split(tap.weight);
        return {sourceRow(tap.first), sourceRow(tap.second), tap.weight,
                pairOf(kCoarseOne - lower.coarse, lower.coarse), pairOf(-lower.fine, lower.fine)};
    }

    // Source and target rows are read and written side by side: the more at a time, the better are
    // tables and memory used, until they crowd each other out of the first-level cache.
    size_t bandRows() const {
        constexpr int64_t kRowsSideBySide = 12;
        const int64_t target = targetSize_.height;
        const int64_t source = std::min<int64_t>(sourceSize_.height, 2 * target);
        const int64_t share = kRowsSideBySide * target / (source + target);
        return std::clamp<size_t>(static_cast<size_t>(share), 2, kMostBandRows);
    }

    static constexpr size_t kMostBandRows = 8;

    const RowKernels& kernels_;
    const unsigned char* source_;
    Size sourceSize_;
    size_t sourcePitch_;
    unsigned char* target_;
    Size targetSize_;
    size_t targetPitch_;
    int bytesPerPixel_;
    Stores stores_;
};

}  // namespace

void interpolate(const RowKernels& kernels, const unsigned char* src, int srcWidth, int srcHeight,
                 unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel,
                 Stores stores) {
    const Size source{srcWidth, srcHeight};
    const Size target{dstWidth, dstHeight};
    const bool isPixel = bytesPerPixel == 1 || bytesPerPixel == 3 || bytesPerPixel == 4;
    if (src == nullptr || dst == nullptr || !isPixel || !isInMemory(source, bytesPerPixel) ||
        !isInMemory(target, bytesPerPixel)) {
        return;
    }
    Interpolation(kernels, src, source, dst, target, bytesPerPixel, stores).run();
}

}  // namespace qor::scaling
