// Where on one axis a target position takes its value from.
#ifndef QOR_CONF_KXCOMMON64_TAPS_H
#define QOR_CONF_KXCOMMON64_TAPS_H

#include "kernels.h"

namespace qor::scaling {

// Where position `target` of targetSize lies among sourceSize positions, pixel centres at half
// positions. Exact but for the weight, which is rounded to the nearest.
Tap tapAt(int target, int sourceSize, int targetSize);

// A weight as kernels take it.
SplitWeight split(int32_t weight);

}  // namespace qor::scaling

#endif
