#include <fmt/format.h>

#include "scalers.h"
#include "scaling.h"

namespace qor::bench {

namespace {

std::string scalerName(const scaling::RowKernels& kernels) {
    return fmt::format("qor {}", scaling::nameOf(kernels));
}

}  // namespace

std::vector<Scaler> ourScalers(Size from, Size to) {
    std::vector<Scaler> scalers;
    for (const scaling::RowKernels* const kernels : scaling::usableRowKernels()) {
        scalers.push_back({scalerName(*kernels), kBytesPerPixel,
                           [=](const unsigned char* source, unsigned char* target) -> Call {
                               return [=] {
                                   scaling::interpolate(*kernels, source, from.width, from.height,
                                                        target, to.width, to.height,
                                                        static_cast<int>(kBytesPerPixel));
                               };
                           }});
    }
    return scalers;
}

std::string chosenScaler() {
    return scalerName(scaling::chosenRowKernels());
}

}  // namespace qor::bench
