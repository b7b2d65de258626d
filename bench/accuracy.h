// Bilinear scaling in double precision, and how far a contender's result is from it.
#ifndef QOR_BENCH_ACCURACY_H
#define QOR_BENCH_ACCURACY_H

#include <span>
#include <vector>

#include "frames.h"

namespace qor::bench {

// Which source position a target position t takes its value from.
enum class Positions {
    Centres,  // (t + 0.5) * from / to - 0.5: the rule of BilinearInterpolation
    Corners,  // t * (from - 1) / (to - 1): first on first and last on last, as some enlarge
};

// The unrounded result for packed 4-byte pixels. The target has two rows and columns at least.
std::vector<double> scaleExactly(std::span<const unsigned char> source, Size from, Size to,
                                 Positions positions = Positions::Centres);

// Of the rows of the source, how many contribute to the result.
int sourceRowsNeeded(int fromHeight, int toHeight);

struct Deviation {
    double largest;   // from the unrounded value; 0.5 at least, where a value lies half way
    double mean;      // from the unrounded value; 0.25 for perfect rounding of noise
    int fromRounded;  // the largest from the value rounded to nearest, halves up
};

// Compares the first `channels` bytes of every pixel.
Deviation deviationOf(std::span<const unsigned char> result, std::span<const double> exact,
                      size_t channels);

}  // namespace qor::bench

#endif
