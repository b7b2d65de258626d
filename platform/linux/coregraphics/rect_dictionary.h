/* Rectangles as dictionaries, as window descriptions hold them. */
#pragma once

#include <CoreGraphics/CGGeometry.h>

#include "corefoundation/cf_dictionary.h"

namespace qor::coregraphics {

/* Null if memory is short. CGRectMakeWithDictionaryRepresentation reads it. */
corefoundation::Reference<const __CFDictionary> createRectDictionary(const CGRect& rect) noexcept;

}  // namespace qor::coregraphics
