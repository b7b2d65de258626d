#include "loader_library.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "dynamic_lookup.h"
#include "thread_variables.h"

namespace loader_library {
namespace {

Process process;

const macho::Image* imageByNumber(uint32_t number) {
    const auto& images = process.images->images();
    return number < images.size() ? images[number].get() : nullptr;
}

// Pointers to functions are bound before the program runs, so nobody gets here.
void bindLazily() {
    std::fputs("macho_run: a function's address is asked for that was bound long ago\n", stderr);
    _exit(127);
}

uint32_t imageCount() {
    return static_cast<uint32_t>(process.images->images().size());
}

const char* imageName(uint32_t number) {
    const macho::Image* const image = imageByNumber(number);
    return image == nullptr ? nullptr : image->path().c_str();
}

const void* imageHeader(uint32_t number) {
    const macho::Image* const image = imageByNumber(number);
    return image == nullptr ? nullptr : image->header();
}

intptr_t imageSlide(uint32_t number) {
    const macho::Image* const image = imageByNumber(number);
    return image == nullptr ? 0 : static_cast<intptr_t>(image->memory().slide());
}

// 0, or -1 and the size that is needed.
int executablePath(char* buffer, uint32_t* size) {
    const std::string& path = process.images->program().path().native();
    const auto needed = static_cast<uint32_t>(path.size() + 1);
    if (*size < needed) {
        *size = needed;
        return -1;
    }
    std::memcpy(buffer, path.c_str(), needed);
    return 0;
}

int* argumentCount() {
    return &process.argumentCount;
}

char*** arguments() {
    return &process.arguments;
}

char*** environment() {
    return &environ;
}

template <typename Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

void setProcess(const Process& known) {
    process = known;
    macho::setLookupSource(*known.images, *known.symbols);
}

void* find(std::string_view symbol) {
    static const std::array<std::pair<std::string_view, void*>, 16> kFunctions = {{
        {"_dladdr", address(&macho::lookUpAddress)},
        {"_dlclose", address(&macho::closeImage)},
        {"_dlerror", address(&macho::lookupError)},
        {"_dlopen", address(&macho::openImage)},
        {"_dlsym", address(&macho::lookUpSymbol)},
        {"dyld_stub_binder", address(&bindLazily)},
        {"__dyld_image_count", address(&imageCount)},
        {"__dyld_get_image_name", address(&imageName)},
        {"__dyld_get_image_header", address(&imageHeader)},
        {"__dyld_get_image_vmaddr_slide", address(&imageSlide)},
        {"__NSGetExecutablePath", address(&executablePath)},
        {"__NSGetArgc", address(&argumentCount)},
        {"__NSGetArgv", address(&arguments)},
        {"__NSGetEnviron", address(&environment)},
        {"__tlv_atexit", address(&macho::machoAtThreadExit)},
        {"__tlv_bootstrap", address(&macho::machoThreadVariableTooEarly)},
    }};
    const auto* const found =
        std::find_if(kFunctions.begin(), kFunctions.end(),
                     [=](const auto& function) { return function.first == symbol; });
    return found == kFunctions.end() ? nullptr : found->second;
}

}  // namespace loader_library
