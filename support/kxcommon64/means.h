// Rows of pixels each of which is the mean of four.
#ifndef QOR_CONF_KXCOMMON64_MEANS_H
#define QOR_CONF_KXCOMMON64_MEANS_H

#include <cstddef>

#include "kernels.h"

namespace qor::scaling {

inline constexpr size_t kMeanChannels = 4;

// Whether the kernels make rows of so many target bytes; the reference does where not.
bool makesRows(const RowKernels& kernels, size_t targetBytes);

// All rows of `rows`, targetBytes of each, by kernels that make such rows.
void makeMeans(const RowKernels& kernels, const MeanBand& rows, size_t targetBytes);

}  // namespace qor::scaling

#endif
