#include "dynamic_lookup.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "load_error.h"
#include "macho_format.h"

namespace macho {
namespace {

// macOS's numbers for the handles that stand for a search.
constexpr intptr_t kNext = -1;
constexpr intptr_t kDefault = -2;
constexpr intptr_t kSelf = -3;
constexpr intptr_t kMainOnly = -5;

const ImageList* images = nullptr;
const Symbols* symbols = nullptr;
// A handle for the system's libraries, which are all searched as one.
const char systemHandle = 0;

thread_local std::string error;
thread_local bool hasError = false;

void* fail(std::string message) {
    error = std::move(message);
    hasError = true;
    return nullptr;
}

size_t numberOf(const Image& image) {
    const auto& all = images->images();
    return static_cast<size_t>(
        std::find_if(all.begin(), all.end(),
                     [&](const auto& each) { return each.get() == &image; }) -
        all.begin());
}

const Image* imageByHandle(const void* handle) {
    const auto& all = images->images();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [=](const auto& image) { return image.get() == handle; });
    return found == all.end() ? nullptr : found->get();
}

bool isHandle(const void* handle) {
    return reinterpret_cast<intptr_t>(handle) == kDefault || handle == &systemHandle ||
           imageByHandle(handle) != nullptr;
}

void* inImageItself(const Image& image, std::string_view symbol) {
    const auto found = symbols->inImage(image, symbol);
    return found ? found->address : nullptr;
}

// An image, then the libraries that it needs, then those that they need.
void* inImageAndItsLibraries(const Image& image, std::string_view symbol) {
    std::vector<const Image*> reached = {&image};
    bool system = false;
    for (size_t i = 0; i < reached.size(); ++i) {
        if (void* const found = inImageItself(*reached[i], symbol)) {
            return found;
        }
        for (const Library& library : reached[i]->libraries) {
            system = system || library.ofSystem;
            if (library.image != nullptr &&
                std::find(reached.begin(), reached.end(), library.image) == reached.end()) {
                reached.push_back(library.image);
            }
        }
    }
    return system ? symbols->inSystem(symbol) : nullptr;
}

// `caller` is an address in the code that asks.
void* search(void* handle, std::string_view symbol, const void* caller) {
    const Image* const asking = images->holding(caller);
    const size_t own = asking == nullptr ? 0 : numberOf(*asking);
    switch (reinterpret_cast<intptr_t>(handle)) {
        case kDefault:
            return symbols->anywhere(symbol);
        case kNext:
            return symbols->anywhere(symbol, asking == nullptr ? 0 : own + 1);
        case kSelf:
            return symbols->anywhere(symbol, own);
        case kMainOnly:
            return inImageItself(images->program(), symbol);
        default:
            break;
    }
    const Image* const image = imageByHandle(handle);
    return image == nullptr ? symbols->inSystem(symbol) : inImageAndItsLibraries(*image, symbol);
}

bool isSearch(const void* handle) {
    const auto number = reinterpret_cast<intptr_t>(handle);
    return number == kNext || number == kSelf || number == kMainOnly;
}

// The nearest symbol below, or at, the address, with macOS's leading underscore taken off.
void describeSymbol(const Image& image, const void* address, Dl_info& info) {
    const Bytes& table = image.commands().symbols;
    uint64_t best = 0;
    for (uint64_t at = 0; at < table.size(); at += sizeof(SymbolRecord)) {
        const auto symbol = table.read<SymbolRecord>(at);
        const uint64_t place = symbol.value + image.memory().slide();
        const bool isPlace = (symbol.type & kSymbolIsForDebugger) == 0 &&
                             (symbol.type & kSymbolTypeMask) == kSymbolInSection;
        if (!isPlace || place < best || place > reinterpret_cast<uint64_t>(address)) {
            continue;
        }
        best = place;
        const std::string_view name = image.commands().symbolTexts.text(symbol.textIndex);
        info.dli_sname = name.data() + (name.starts_with('_') ? 1 : 0);
        info.dli_saddr = reinterpret_cast<void*>(place);
    }
}

}  // namespace

void setLookupSource(const ImageList& allImages, const Symbols& allSymbols) {
    images = &allImages;
    symbols = &allSymbols;
}

void* openImage(const char* name, int) {
    if (name == nullptr) {
        return reinterpret_cast<void*>(kDefault);
    }
    if (Image* const image = images->named(name)) {
        return image;
    }
    if (images->needsOfSystem(name)) {
        return const_cast<char*>(&systemHandle);
    }
    return fail("dlopen(" + std::string(name) + "): image not found");
}

int closeImage(void* handle) {
    if (isHandle(handle)) {
        return 0;
    }
    fail("dlclose: not a handle");
    return -1;
}

// Not to be inlined or called through another function: the return address tells who asks.
__attribute__((noinline)) void* lookUpSymbol(void* handle, const char* name) {
    const void* const caller = __builtin_return_address(0);
    if (!isHandle(handle) && !isSearch(handle)) {
        return fail("dlsym(" + std::string(name) + "): not a handle");
    }
    try {
        void* const found = search(handle, "_" + std::string(name), caller);
        return found != nullptr ? found
                                : fail("dlsym(" + std::string(name) + "): symbol not found");
    } catch (const LoadError& broken) {
        return fail(broken.what());
    }
}

const char* lookupError() {
    return std::exchange(hasError, false) ? error.c_str() : nullptr;
}

int lookUpAddress(const void* address, Dl_info* info) {
    const Image* const image = images->holding(address);
    if (image == nullptr) {
        return dladdr(address, info);
    }
    *info = {image->path().c_str(), image->header(), nullptr, nullptr};
    try {
        describeSymbol(*image, address, *info);
    } catch (const LoadError&) {
        // A symbol without a name is a place without one; the image is known all the same.
        return 1;
    }
    return 1;
}

}  // namespace macho
