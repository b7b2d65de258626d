#include "coregraphics/color_space.h"

#include "corefoundation/object.h"

struct CGColorSpace final : qor::corefoundation::Object {
    CGColorSpace() noexcept : Object(Lifetime::process) {}
};

namespace qor::coregraphics {

CGColorSpaceRef screenColorSpace() noexcept {
    static CGColorSpace space;
    return &space;
}

}  // namespace qor::coregraphics
