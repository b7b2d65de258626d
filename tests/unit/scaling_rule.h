// The rule of BilinearInterpolation, computed plainly: what scalers are judged by.
#ifndef UNIT_SCALING_RULE_H
#define UNIT_SCALING_RULE_H

#include <vector>

#include "images.h"

// Every byte of the target in double precision, unrounded.
std::vector<double> exactlyScaled(const Bytes& source, const Scaling& scaling);

// Rounded to nearest, halves up, in integers that hold every step: no error of its own decides
// which way a half goes.
Bytes correctlyRounded(const Bytes& source, const Scaling& scaling);

struct ScalingError {
    double worst = 0;
    double mean = 0;
};

ScalingError errorOf(const Bytes& scaled, const std::vector<double>& exact);

#endif
