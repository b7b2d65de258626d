// Standard streams and buffering. FILE is opaque to a macOS program, so the streams are this
// system's own; BUFSIZ is not the same, and a null pointer is printed as 0x0.
#include <printf.h>

#include <array>
#include <cstdint>
#include <cstdio>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr size_t kBufferSize = 1024;  // macOS's BUFSIZ: what setbuf's caller has room for

FILE* standardInput = stdin;
FILE* standardOutput = stdout;
FILE* standardError = stderr;

void setBuffer(FILE* stream, char* buffer) {
    std::setvbuf(stream, buffer, buffer == nullptr ? _IONBF : _IOFBF, kBufferSize);
}

int printPointer(FILE* stream, const printf_info* info, const void* const* arguments) {
    const void* const pointer = *static_cast<const void* const*>(arguments[0]);
    std::array<char, 24> text;
    std::snprintf(text.data(), text.size(), "0x%lx", reinterpret_cast<uintptr_t>(pointer));
    const int width = info->left != 0 ? -info->width : info->width;
    return std::fprintf(stream, "%*s", width, text.data());
}

int describePointer(const printf_info*, size_t count, int* types, int* sizes) {
    if (count > 0) {
        types[0] = PA_POINTER;
        sizes[0] = sizeof(void*);
    }
    return 1;
}

const int pointersPrinted = register_printf_specifier('p', printPointer, describePointer);

const Registration registration{
    symbol("___stdinp", &standardInput),
    symbol("___stdoutp", &standardOutput),
    symbol("___stderrp", &standardError),
    symbol("_setbuf", setBuffer),
};

}  // namespace
}  // namespace system_library
