// The inner loops of the scalers, one table of them an instruction set, and what they are given.
//
// Everything here is plain data: the files that implement the loops are compiled for processors
// that the rest of the library may not be running on, so nothing they share with it may be inline
// code.
#ifndef QOR_CONF_KXCOMMON64_KERNELS_H
#define QOR_CONF_KXCOMMON64_KERNELS_H

#include <cstddef>
#include <cstdint>

#include "streaming.h"

namespace qor::scaling {

// Weights are in 1 / kWeightOne. Filtered samples, between the horizontal step and the vertical
// one, have kFractionBits below the point: 15 bits in all, so that their differences fit in 16.
inline constexpr int kWeightBits = 14;
inline constexpr int kWeightOne = 1 << kWeightBits;
inline constexpr int kFractionBits = 7;

// The two source positions that a target position lies between, and the weight of the second, below
// kWeightOne. Where that is 0 both are the same position, so that none past the image is named.
struct Tap {
    int32_t first;
    int32_t second;
    int32_t weight;
};

// A weight as coarse / kCoarseOne + fine / kWeightOne. Kernels multiply by signed bytes, so coarse
// is never 0 or kCoarseOne.
inline constexpr int kCoarseOne = 1 << kFractionBits;
struct SplitWeight {
    signed char coarse;
    signed char fine;
};

// How a kernel reads a row: target samples in blocks, each block from several windows of
// consecutive source bytes.
struct WindowShape {
    size_t windowBytes;
    size_t samples;              // target bytes made from one window
    size_t windows;              // of a block
    const unsigned char* order;  // which of the block's windows is read first, second, ...
};

// Where a row's target samples come from, as tables for one shape. Blocks cover the row from its
// start; the last ends where the row does and may overlap the one before.
struct ColumnTables {
    size_t blocks;
    const uint32_t* targets;  // first target byte of each block
    const uint32_t* windows;  // source bytes at which the windows begin, shape.windows a block
    // For each half of a block, as many bytes as the block has of each in turn, aligned to them:
    // the places in their window of the first and the second source byte of every sample, the
    // coarse weights of these, and the fine ones.
    const unsigned char* filters;
};

// A target row between two source rows; the lower one is not read where its weight is 0.
struct BandRow {
    const unsigned char* upper;
    const unsigned char* lower;
    int32_t weight;  // of the lower, in 1 / kWeightOne
    // The weights of both, split, as signed bytes: the upper's in the lower half.
    int16_t coarsePair;
    int16_t finePair;
};

// How target rows are written.
enum class Stores : bool {
    cached,
    streamed,  // around the caches, whole lines of them: rows begin and end with one
};

// Some target rows to be made together, so that a block's tables stay in registers and a filtered
// source row serves two target rows.
struct RowBand {
    const BandRow* rows;
    size_t rowCount;
    unsigned char* target;  // the first row
    size_t targetPitch;     // bytes
    Stores stores;
};

// Some target rows made of the means of 2 x 2 pixels of 4 bytes, halves rounded up.
struct MeanBand {
    const unsigned char* source;  // the first four's upper left pixel
    size_t sourcePitch;           // bytes from a four's upper pixels to its lower ones
    size_t columnStep;            // bytes from one four to the next
    size_t rowStep;               // bytes from one row of fours to the next
    unsigned char* target;        // the first row
    size_t targetPitch;           // bytes
    size_t rowCount;
};

struct BandKernel {
    WindowShape shape;
    void (*scaleCoarse)(const RowBand& band, const ColumnTables& columns);  // fine weights all 0
    void (*scale)(const RowBand& band, const ColumnTables& columns);
};

struct RowKernels {
    const char* name;
    // Best first; the first whose shape fits is taken, and the reference where none does.
    const BandKernel* const* bands;
    size_t bandCount;
    bool streamBands;  // these may be asked for streamed stores
    // The bytes of a target row that those below take at least; the reference does shorter ones.
    size_t leastBytes;
    void (*blendRows)(const RowBand& band, size_t bytes);   // without any change in width
    void (*halveRows)(const MeanBand& band, size_t bytes);  // fours side by side
    void (*meanRows)(const MeanBand& band, size_t bytes);   // fours apart
};

extern const RowKernels kScalarKernels;  // the reference alone
extern const RowKernels kSse41Kernels;
extern const RowKernels kAvx2Kernels;
extern const RowKernels kAvx512Kernels;
extern const RowKernels kNeonKernels;

// Of AVX2, for those of AVX-512, which are no faster at what lies far apart.
extern const BandKernel kAvx2Dense;
extern const BandKernel kAvx2Sparse;
void meanRowsOfAvx2(const MeanBand& band, size_t bytes);

}  // namespace qor::scaling

#endif
