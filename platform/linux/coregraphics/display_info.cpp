#include <IOKit/graphics/IOGraphicsLib.h>

#include "corefoundation/cf_dictionary.h"
#include "corefoundation/cf_string.h"
#include "coregraphics/display_server.h"

namespace {

using qor::corefoundation::create;
using qor::corefoundation::createString;
using qor::corefoundation::Reference;

using Dictionary = Reference<const __CFDictionary>;

Dictionary describe(const std::string& productName) {
    if (productName.empty())
        return create<const __CFDictionary>();
    const auto name = createString(productName);
    if (name == nullptr)
        return nullptr;
    // The name in a display's own data has no language; it is filed under the one that the data
    // format is written in.
    const auto names = create<const __CFDictionary>(CFSTR("en_US"), name.get());
    if (names == nullptr)
        return nullptr;
    return create<const __CFDictionary>(CFSTR(kDisplayProductName), names.get());
}

}  // namespace

CFDictionaryRef IODisplayCreateInfoDictionary(io_service_t framebuffer, IOOptionBits) {
    using qor::coregraphics::DisplayServer;
    return qor::coregraphics::askServer(CFDictionaryRef(),
                                        [framebuffer](DisplayServer& server) -> CFDictionaryRef {
                                            const auto name = server.displayName(framebuffer);
                                            return name ? describe(*name).release() : nullptr;
                                        });
}
