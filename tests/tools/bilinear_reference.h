#ifndef TESTS_TOOLS_BILINEAR_REFERENCE_H
#define TESTS_TOOLS_BILINEAR_REFERENCE_H

#include "picture.h"

/*
 * The picture at another size, straight from the formula in double precision: pixel centres lie at
 * half coordinates, samples beyond the edge repeat it, results are rounded to the nearest.
 */
Picture scaledBilinearly(const Picture& source, std::uint32_t width, std::uint32_t height);

#endif
