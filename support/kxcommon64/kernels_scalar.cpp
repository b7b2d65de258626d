#include "kernels.h"

namespace qor::scaling {

constinit const RowKernels kScalarKernels = {"scalar", nullptr, 0,       false,
                                             0,        nullptr, nullptr, nullptr};

}  // namespace qor::scaling
