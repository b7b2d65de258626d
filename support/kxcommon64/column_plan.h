// The horizontal side of a scaling: which source bytes make each target sample, worked out once
// for all rows.
#ifndef QOR_CONF_KXCOMMON64_COLUMN_PLAN_H
#define QOR_CONF_KXCOMMON64_COLUMN_PLAN_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels.h"

namespace qor::scaling {

// Keeps its memory from one preparation to the next, and the tables while nothing changes. A row of
// samples is what a row of pixels is in bytes.
class ColumnPlan {
  public:
    // The calling thread's, which goes with it. Throws std::bad_alloc.
    static ColumnPlan& ofThisThread();

    // Works out the tables for the first of the kernels whose shape fits, if there is one. Throws
    // std::bad_alloc; the next call begins anew then.
    void prepare(const RowKernels& kernels, int sourceWidth, int targetWidth, int bytesPerPixel);

    const std::vector<Tap>& taps() const { return taps_; }  // one a target pixel
    const BandKernel* kernel() const { return kernel_; }
    ColumnTables tables();
    // Whether the weights of all columns are multiples of 1 / 128.
    bool isCoarse() const { return isCoarse_; }

  private:
    struct Key {
        const RowKernels* kernels = nullptr;
        int sourceWidth = 0;
        int targetWidth = 0;
        int bytesPerPixel = 0;
        bool operator==(const Key&) const = default;
    };
    struct Extent {
        size_t begin;
        size_t end;
    };
    struct alignas(64) Aligned {
        unsigned char bytes[64];
    };

    unsigned char* filterBytes();
    void fillTaps();
    void chooseKernel();
    bool fits(const WindowShape& shape) const;
    void fillTables(const WindowShape& shape);
    void addWindow(size_t index, size_t firstSample, const WindowShape& shape);
    void setSample(unsigned char* pair, size_t block, size_t sample, size_t window);
    const Tap& tapOf(size_t sample) const;
    size_t sourceByte(int32_t pixel, size_t sample) const;
    Extent sourceOf(size_t firstSample, size_t samples) const;
    size_t sourceBytes() const;
    size_t targetBytes() const;

    Key key_;
    std::vector<Tap> taps_;
    const BandKernel* kernel_ = nullptr;
    bool isCoarse_ = false;
    std::vector<uint32_t> targets_;
    std::vector<uint32_t> windows_;
    std::vector<Aligned> filters_;
};

}  // namespace qor::scaling

#endif
