// The images of the process in the order in which they were loaded: the program, the libraries that
// it needs (its own before those that they need), then what stands in for the system's libraries
// and needs. Not thread-safe while images are loaded; afterwards any thread may read.
#ifndef IMAGE_LIST_H
#define IMAGE_LIST_H

#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "image.h"

namespace macho {

class ImageList {
  public:
    // Loads an image and all that it needs. The program comes first. Throws LoadError.
    Image& load(const std::filesystem::path& path);

    [[nodiscard]] const std::vector<std::unique_ptr<Image>>& images() const { return images_; }
    [[nodiscard]] Image& program() const { return *images_.front(); }
    // Null when there is none.
    [[nodiscard]] Image* holding(const void* address) const;
    // By path, by install name, or by what an image that needs it calls it.
    [[nodiscard]] Image* named(std::string_view name) const;
    // Whether some image needs the library of the system's that has this name.
    [[nodiscard]] bool needsOfSystem(std::string_view name) const;

    // A library of the system's is known by where it would lie.
    static bool isOfSystem(std::string_view installName);

  private:
    Image& loadOne(const std::filesystem::path& path, const Image* loadedBy);
    void loadDependencies(Image& image);
    Image* find(const Image& image, const Dependency& dependency);

    std::vector<std::unique_ptr<Image>> images_;
};

}  // namespace macho

#endif
