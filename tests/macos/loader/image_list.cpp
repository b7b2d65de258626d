#include "image_list.h"

#include <algorithm>
#include <optional>
#include <string>

#include "load_error.h"

namespace macho {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kRunPathPrefix = "@rpath/";

// Names may count from the folder of the image that uses them, or of the program.
fs::path expand(std::string_view name, const Image& image, const Image& program) {
    const auto from = [&](std::string_view prefix, const Image& start) -> std::optional<fs::path> {
        if (!name.starts_with(prefix)) {
            return std::nullopt;
        }
        return start.path().parent_path() / name.substr(prefix.size());
    };
    if (const auto path = from("@loader_path/", image)) {
        return *path;
    }
    if (const auto path = from("@executable_path/", program)) {
        return *path;
    }
    if (name == "@loader_path" || name == "@executable_path") {
        return (name == "@loader_path" ? image : program).path().parent_path();
    }
    return fs::path(name);
}

// The places to look, best first: for a name that is left to run paths, those of the image, then
// those of the image that loaded it, and so on.
std::vector<fs::path> candidates(const Image& image, std::string_view name, const Image& program) {
    if (!name.starts_with(kRunPathPrefix)) {
        return {expand(name, image, program)};
    }
    std::vector<fs::path> paths;
    for (const Image* asked = &image; asked != nullptr; asked = asked->loadedBy()) {
        for (const std::string& runPath : asked->commands().runPaths) {
            paths.push_back(expand(runPath, *asked, program) / name.substr(kRunPathPrefix.size()));
        }
    }
    return paths;
}

}  // namespace

bool ImageList::isOfSystem(std::string_view installName) {
    return installName.starts_with("/usr/lib/") || installName.starts_with("/System/");
}

// Breadth first, as dependencies of one image come before those of the next.
Image& ImageList::load(const fs::path& path) {
    const size_t first = images_.size();
    Image& image = loadOne(path, nullptr);
    for (size_t next = first; next < images_.size(); ++next) {
        Image& each = *images_[next];
        withFile(each.path(), [&] { loadDependencies(each); });
    }
    return image;
}

// The same file is one image, by whatever name it is reached.
Image& ImageList::loadOne(const fs::path& path, const Image* loadedBy) {
    std::error_code error;
    const fs::path canonical = fs::canonical(path, error);
    if (error) {
        throw LoadError(path.string() + ": it cannot be opened: " + error.message());
    }
    for (const auto& image : images_) {
        if (image->path() == canonical) {
            return *image;
        }
    }
    withFile(canonical, [&] { images_.push_back(std::make_unique<Image>(canonical, loadedBy)); });
    return *images_.back();
}

void ImageList::loadDependencies(Image& image) {
    for (const Dependency& dependency : image.commands().dependencies) {
        const bool ofSystem = isOfSystem(dependency.name);
        Image* const found = ofSystem ? nullptr : find(image, dependency);
        image.libraries.push_back({dependency.name, dependency.reexported, ofSystem, found});
    }
}

Image* ImageList::find(const Image& image, const Dependency& dependency) {
    std::string tried;
    for (const fs::path& path : candidates(image, dependency.name, program())) {
        std::error_code ignored;
        if (fs::exists(path, ignored)) {
            return &loadOne(path, &image);
        }
        tried += (tried.empty() ? " " : ", ") + path.string();
    }
    if (dependency.mayBeMissing) {
        return nullptr;
    }
    throw LoadError("it needs " + dependency.name + ", which is not there; looked at" +
                    (tried.empty() ? " nothing: no run path is set" : tried));
}

Image* ImageList::holding(const void* address) const {
    const auto found = std::find_if(images_.begin(), images_.end(), [=](const auto& image) {
        return image->memory().holds(address);
    });
    return found == images_.end() ? nullptr : found->get();
}

Image* ImageList::named(std::string_view name) const {
    for (const auto& image : images_) {
        if (image->path() == name || image->commands().installName == name) {
            return image.get();
        }
        for (const Library& library : image->libraries) {
            if (library.image != nullptr && library.name == name) {
                return library.image;
            }
        }
    }
    return nullptr;
}

bool ImageList::needsOfSystem(std::string_view name) const {
    const auto needs = [=](const Library& library) {
        return library.ofSystem && library.name == name;
    };
    return std::any_of(images_.begin(), images_.end(), [&](const auto& image) {
        return std::any_of(image->libraries.begin(), image->libraries.end(), needs);
    });
}

}  // namespace macho
