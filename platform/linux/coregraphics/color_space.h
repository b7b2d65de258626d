/* The one colour space; <CoreGraphics/CGColorSpace.h> is what callers see. */
#pragma once

#include <CoreGraphics/CGColorSpace.h>

namespace qor::coregraphics {

/* Of every image of the screen. Lives as long as the process. */
CGColorSpaceRef screenColorSpace() noexcept;

}  // namespace qor::coregraphics
