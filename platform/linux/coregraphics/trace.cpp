#include "coregraphics/trace.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace qor::coregraphics {

void trace(const char* format, ...) noexcept {
    const char* wanted = std::getenv("QOR_COREGRAPHICS_TRACE");
    if (wanted == nullptr || std::string_view(wanted) != "1")
        return;
    char message[400];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    // One call, so that lines of several threads do not mix.
    std::fprintf(stderr, "qor_coregraphics[%d]: %s\n", static_cast<int>(gettid()), message);
}

}  // namespace qor::coregraphics
