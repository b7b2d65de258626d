// The contenders: this project's scaler with each instruction set, and the public ones.
#ifndef QOR_BENCH_SCALERS_H
#define QOR_BENCH_SCALERS_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "frames.h"

namespace qor::bench {

// Scales the frame it is bound to; may be called again and again. One thread.
using Call = std::function<void()>;

// One way to scale between two sizes. What it needs to prepare is done when it is made or bound,
// never in the call.
struct Scaler {
    std::string name;
    size_t channels;  // of four, those that it computes: 3 leaves the last undefined
    std::function<Call(const unsigned char* source, unsigned char* target)> bind;
};

// From the scalar reference to the fastest. Named "qor ..."
std::vector<Scaler> ourScalers(Size from, Size to);

// The name of the one that BilinearInterpolation uses here.
std::string chosenScaler();

// The public scalers, each with every setting that a user who wants bilinear would try.
std::vector<Scaler> publicScalers(Size from, Size to);

// Library and version, as they run.
std::vector<std::pair<std::string, std::string>> publicScalerVersions();

}  // namespace qor::bench

#endif
