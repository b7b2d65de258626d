#include "means.h"

#include <algorithm>
#include <cstdint>

#include "reference.h"
#include "scaling.h"

namespace qor::scaling {

bool makesRows(const RowKernels& kernels, size_t targetBytes) {
    return kernels.leastBytes != 0 && targetBytes >= kernels.leastBytes;
}

void makeMeans(const RowKernels& kernels, const MeanBand& rows, size_t targetBytes) {
    // Few enough for the ways of the first-level cache: twice as many source rows and these.
    constexpr size_t kBandRows = 4;
    const auto makeBand =
        rows.columnStep == 2 * kMeanChannels ? kernels.halveRows : kernels.meanRows;
    for (size_t y = 0; y < rows.rowCount; y += kBandRows) {
        MeanBand band = rows;
        band.source += y * rows.rowStep;
        band.target += y * rows.targetPitch;
        band.rowCount = std::min(kBandRows, rows.rowCount - y);
        makeBand(band, targetBytes);
    }
}

void halve(const RowKernels& kernels, unsigned int width, unsigned int height, int pitch,
           const unsigned char* src, unsigned char* dst) {
    if (src == nullptr || dst == nullptr || width == 0 || height == 0 ||
        pitch < static_cast<int64_t>(width) * static_cast<int64_t>(kMeanChannels)) {
        return;
    }
    const auto sourcePitch = static_cast<size_t>(pitch);
    const size_t targetPitch = (size_t{width} + 1) / 2 * kMeanChannels;
    const size_t pairedBytes = size_t{width} / 2 * kMeanChannels;
    const size_t byKernel = makesRows(kernels, pairedBytes) ? pairedBytes : 0;
    const size_t pairedRows = height / 2;
    if (byKernel != 0) {
        const MeanBand rows{src, sourcePitch, 2 * kMeanChannels, 2 * sourcePitch,
                            dst, targetPitch, pairedRows};
        makeMeans(kernels, rows, byKernel);
    }
    // What is left: the column of an odd width, or all of a narrow image; the row of an odd height.
    const size_t restWidth = width - 2 * (byKernel / kMeanChannels);
    for (size_t y = 0; y < pairedRows; ++y) {
        halveRow(src + 2 * (y * sourcePitch + byKernel), sourcePitch, 2, restWidth,
                 dst + y * targetPitch + byKernel);
    }
    if (height % 2 != 0) {
        halveRow(src + 2 * pairedRows * sourcePitch, sourcePitch, 1, width,
                 dst + pairedRows * targetPitch);
    }
}

}  // namespace qor::scaling
