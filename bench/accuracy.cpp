#include "accuracy.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace qor::bench {

namespace {

// A target position lies between two source positions: first * (1 - weight) + second * weight.
struct Neighbours {
    int first;
    int second;
    double weight;
};

struct Fraction {
    int64_t numerator;
    int64_t denominator;
};

// Exact: a double just below a whole number would name the wrong neighbours.
Fraction positionOf(int target, int from, int to, Positions positions) {
    if (positions == Positions::Corners) {
        return {int64_t{target} * (from - 1), to - 1};
    }
    return {(2 * int64_t{target} + 1) * from - to, 2 * int64_t{to}};
}

Neighbours neighboursOf(int target, int from, int to, Positions positions) {
    const Fraction position = positionOf(target, from, to, positions);
    if (position.numerator <= 0) {
        return {0, 0, 0.0};
    }
    const auto first = static_cast<int>(position.numerator / position.denominator);
    if (first >= from - 1) {
        return {from - 1, from - 1, 0.0};
    }
    return {first, first + 1,
            static_cast<double>(position.numerator % position.denominator) /
                static_cast<double>(position.denominator)};
}

}  // namespace

std::vector<double> scaleExactly(std::span<const unsigned char> source, Size from, Size to,
                                 Positions positions) {
    const auto at = [&](int x, int y, size_t channel) -> double {
        return source[static_cast<size_t>(y) * from.rowBytes() +
                      static_cast<size_t>(x) * kBytesPerPixel + channel];
    };
    std::vector<double> result;
    result.reserve(to.bytes());
    for (int y = 0; y < to.height; ++y) {
        const Neighbours rows = neighboursOf(y, from.height, to.height, positions);
        for (int x = 0; x < to.width; ++x) {
            const Neighbours columns = neighboursOf(x, from.width, to.width, positions);
            const auto inRow = [&](int row, size_t channel) {
                return std::lerp(at(columns.first, row, channel), at(columns.second, row, channel),
                                 columns.weight);
            };
            for (size_t channel = 0; channel < kBytesPerPixel; ++channel) {
                result.push_back(std::lerp(inRow(rows.first, channel), inRow(rows.second, channel),
                                           rows.weight));
            }
        }
    }
    return result;
}

int sourceRowsNeeded(int fromHeight, int toHeight) {
    std::vector<bool> needed(static_cast<size_t>(fromHeight));
    for (int y = 0; y < toHeight; ++y) {
        const Neighbours rows = neighboursOf(y, fromHeight, toHeight, Positions::Centres);
        needed[static_cast<size_t>(rows.first)] = true;
        if (rows.weight > 0.0) {
            needed[static_cast<size_t>(rows.second)] = true;
        }
    }
    return static_cast<int>(std::count(needed.begin(), needed.end(), true));
}

Deviation deviationOf(std::span<const unsigned char> result, std::span<const double> exact,
                      size_t channels) {
    Deviation deviation{0.0, 0.0, 0};
    double sum = 0.0;
    size_t compared = 0;
    for (size_t i = 0; i < result.size(); ++i) {
        if (i % kBytesPerPixel >= channels) {
            continue;
        }
        const double difference = std::abs(result[i] - exact[i]);
        const int rounded = static_cast<int>(std::floor(exact[i] + 0.5));
        sum += difference;
        ++compared;
        deviation.largest = std::max(deviation.largest, difference);
        deviation.fromRounded = std::max(deviation.fromRounded, std::abs(result[i] - rounded));
    }
    deviation.mean = sum / static_cast<double>(compared);
    return deviation;
}

}  // namespace qor::bench
