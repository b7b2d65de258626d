#include "coregraphics/rect_dictionary.h"

#include <optional>

#include "corefoundation/cf_number.h"

namespace {

using qor::corefoundation::Object;

/* Null if the key is not there, or is not a number's. */
std::optional<CGFloat> numberUnder(CFDictionaryRef dictionary, CFStringRef key) {
    const auto* object = static_cast<const Object*>(CFDictionaryGetValue(dictionary, key));
    const auto* number = dynamic_cast<const __CFNumber*>(object);
    CGFloat value = 0;
    if (number == nullptr)
        return std::nullopt;
    CFNumberGetValue(number, kCFNumberCGFloatType, &value);
    return value;
}

}  // namespace

bool CGRectMakeWithDictionaryRepresentation(CFDictionaryRef dict, CGRect* rect) {
    if (dict == nullptr || rect == nullptr)
        return false;
    const auto x = numberUnder(dict, CFSTR("X"));
    const auto y = numberUnder(dict, CFSTR("Y"));
    const auto width = numberUnder(dict, CFSTR("Width"));
    const auto height = numberUnder(dict, CFSTR("Height"));
    if (!x || !y || !width || !height)
        return false;
    *rect = CGRectMake(*x, *y, *width, *height);
    return true;
}

namespace qor::coregraphics {

corefoundation::Reference<const __CFDictionary> createRectDictionary(const CGRect& rect) noexcept {
    using corefoundation::createNumber;
    corefoundation::DictionaryEntries entries;
    entries.add(CFSTR("X"), createNumber(rect.origin.x));
    entries.add(CFSTR("Y"), createNumber(rect.origin.y));
    entries.add(CFSTR("Width"), createNumber(rect.size.width));
    entries.add(CFSTR("Height"), createNumber(rect.size.height));
    return entries.createDictionary();
}

}  // namespace qor::coregraphics
