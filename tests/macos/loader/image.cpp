#include "image.h"

#include <utility>

namespace macho {

Image::Image(std::filesystem::path path, const Image* loadedBy)
    : path_(std::move(path)),
      loadedBy_(loadedBy),
      file_(path_),
      commands_(file_.bytes()),
      memory_(commands_) {}

Bytes Image::contents(const Section& section, const char* name) const {
    return {memory_.at(section.address), section.size, name};
}

}  // namespace macho
