// What defines the results of the scalers: every other way to them gives the same bytes.
#ifndef QOR_CONF_KXCOMMON64_REFERENCE_H
#define QOR_CONF_KXCOMMON64_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels.h"

namespace qor::scaling {

// One target row of columns.size() pixels between two source rows, at weight of the lower one.
void interpolateRow(const unsigned char* upper, const unsigned char* lower, int32_t weight,
                    const std::vector<Tap>& columns, int bytesPerPixel, unsigned char* target);

// One target row of ceil(width / 2) 4-byte pixels out of rows, 1 or 2, that lie pitch bytes apart.
void halveRow(const unsigned char* source, size_t pitch, size_t rows, size_t width,
              unsigned char* target);

}  // namespace qor::scaling

#endif
