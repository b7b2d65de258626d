#include "kxcommon64.h"
#include "scaling.h"

using namespace qor::scaling;

void BilinearInterpolation(const unsigned char* src, int srcWidth, int srcHeight,
                           unsigned char* dst, int dstWidth, int dstHeight, int bytesPerPixel) {
    interpolate(chosenRowKernels(), src, srcWidth, srcHeight, dst, dstWidth, dstHeight,
                bytesPerPixel);
}

void RgbDownsampling(unsigned int width, unsigned int height, int pitch, unsigned char* src,
                     unsigned char* dst) {
    halve(chosenRowKernels(), width, height, pitch, src, dst);
}
