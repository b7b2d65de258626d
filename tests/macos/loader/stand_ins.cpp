#include "stand_ins.h"

#include <dlfcn.h>
#include <link.h>

#include <string>

#include "load_error.h"

namespace macho {
namespace {

void* openElf(const std::filesystem::path& path) {
    // Without a slash, the name would be looked for in this system's own folders.
    void* const handle = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (handle == nullptr) {
        throw LoadError(dlerror());
    }
    return handle;
}

bool defines(void* elfLibrary, void* address) {
    link_map* library = nullptr;
    link_map* owner = nullptr;
    Dl_info ignored;
    return dlinfo(elfLibrary, RTLD_DI_LINKMAP, &library) == 0 &&
           dladdr1(address, &ignored, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) != 0 &&
           owner == library;
}

}  // namespace

void StandIns::add(const std::filesystem::path& path, ImageList& images) {
    if (ImageFile::isElf(path)) {
        all_.push_back({nullptr, openElf(path)});
    } else {
        all_.push_back({&images.load(path), nullptr});
    }
}

// The search by handle goes on into the libraries that the file needs, so into this system's C
// library, whose functions are not macOS's.
void* StandIns::findInElf(void* elfLibrary, std::string_view symbol) {
    if (!symbol.starts_with('_')) {
        return nullptr;
    }
    void* const found = dlsym(elfLibrary, std::string(symbol.substr(1)).c_str());
    return found != nullptr && defines(elfLibrary, found) ? found : nullptr;
}

}  // namespace macho
