#include <cstddef>

#include "kxcommon64.h"
#include "scaling.h"
#include "streaming.h"

using namespace qor::scaling;

namespace {

Stores storesFor(int width, int height, int bytesPerPixel) {
    if (width <= 0 || height <= 0 || bytesPerPixel <= 0) {
        return Stores::cached;
    }
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    return belongsAroundCaches(pixels * static_cast<size_t>(bytesPerPixel)) ? Stores::streamed
                                                                            : Stores::cached;
}

}  // namespace

void BilinearInterpolation(const unsigned char* src, int srcWidth, int srcHeight,
                           unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel) {
    interpolate(chosenRowKernels(), src, srcWidth, srcHeight, dst, dstWidth, dstHeight,
                bytesPerPixel, storesFor(dstWidth, dstHeight, bytesPerPixel));
}

void RgbDownsampling(unsigned int width, unsigned int height, int pitch, unsigned char* src,
                     unsigned char* dst) {
    halve(chosenRowKernels(), width, height, pitch, src, dst);
}
