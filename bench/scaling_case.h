// One case of the scaling benchmark: all scalers between two sizes, judged and timed.
#ifndef QOR_BENCH_SCALING_CASE_H
#define QOR_BENCH_SCALING_CASE_H

#include <string>
#include <vector>

#include "accuracy.h"
#include "frames.h"
#include "turns.h"

namespace qor::bench {

// What a scaler's result on noise shows that it computes.
enum class Kind {
    Bilinear,
    BilinearElsewhere,  // bilinear, but at positions from corner to corner
    NotBilinear,
};

struct Entry {
    std::string scaler;
    bool ours;
    Deviation deviation;  // on noise
    Kind kind;
    double roughly = 0.0;  // seconds of one call, to decide how many turns it gets
    Timing warm{};         // the same frames again and again
    Timing cold{};         // frames that no cache holds any more

    bool rival() const { return !ours && kind != Kind::NotBilinear; }
};

// Which of an entry's timings.
using Frames = Timing Entry::*;

struct CaseResult {
    std::vector<Entry> entries;  // ours, from the scalar reference to the fastest; then the others
    Entry floor;                 // copying half of what must be read and written at least

    // Ours, as BilinearInterpolation runs here.
    const Entry& chosen() const;
    const Entry& fastestRival(Frames frames) const;
    // Ours against the fastest rival.
    double ratio(Frames frames) const;
};

// Throws when the results of our variants differ.
CaseResult measureScaling(Size from, Size to, int rounds);

}  // namespace qor::bench

#endif
