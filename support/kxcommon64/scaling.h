// The scalers behind kxcommon64.h, with the instruction set as an argument: what tests compare and
// benchmarks time side by side.
#ifndef QOR_CONF_KXCOMMON64_SCALING_H
#define QOR_CONF_KXCOMMON64_SCALING_H

#include <span>

#include "kernels.h"

namespace qor::scaling {

// Those that this processor runs, from the scalar reference to the fastest. Never empty.
std::span<const RowKernels* const> usableRowKernels();

// "scalar", "sse4.1", "avx2", "avx512", "neon".
const char* nameOf(const RowKernels& kernels);

// The fastest that this processor runs, or those that QOR_KXCOMMON64_KERNELS names. Chosen at the
// first call.
const RowKernels& chosenRowKernels();

// As BilinearInterpolation and RgbDownsampling do. Streamed stores are used where the kernels have
// them and the target's rows are whole cache lines.
void interpolate(const RowKernels& kernels, const unsigned char* src, int srcWidth, int srcHeight,
                 unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel,
                 Stores stores = Stores::cached);
void halve(const RowKernels& kernels, unsigned int width, unsigned int height, int pitch,
           const unsigned char* src, unsigned char* dst);

}  // namespace qor::scaling

#endif
