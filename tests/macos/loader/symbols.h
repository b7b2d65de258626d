// Finds what a symbol's name stands for in the loaded images, in what stands in for the system, and
// in the loader itself. Thread-safe once everything is loaded.
#ifndef SYMBOLS_H
#define SYMBOLS_H

#include <optional>
#include <string_view>

#include "fixups.h"
#include "image_list.h"
#include "stand_ins.h"

namespace macho {

struct Definition {
    void* address;
    bool weak;
};

class Symbols {
  public:
    Symbols(const ImageList& images, const StandIns& standIns)
        : images_(images), standIns_(standIns) {}

    // What `importer` gets for an import; null only where that may be. Throws LoadError, without
    // the importer's path, when nobody provides it.
    [[nodiscard]] void* resolve(const Image& importer, const Import& import) const;

    // The one definition that all images share: the first, in load order, that is not weak, else
    // the first.
    [[nodiscard]] void* coalesced(std::string_view symbol) const;

    // What an image exports, itself or on behalf of a library that it passes on.
    [[nodiscard]] std::optional<Definition> inImage(const Image& image,
                                                    std::string_view symbol) const;
    // In the stand-ins, then in the loader, then in the built-in stand-in for the system library.
    [[nodiscard]] void* inSystem(std::string_view symbol) const;
    // In the images in load order, from the one with the number `first`, then in the system.
    [[nodiscard]] void* anywhere(std::string_view symbol, size_t first = 0) const;

  private:
    [[nodiscard]] std::optional<Definition> inImage(const Image& image, std::string_view symbol,
                                                    int passesLeft) const;
    [[nodiscard]] std::optional<Definition> inLibrary(const Library& library,
                                                      std::string_view symbol,
                                                      int passesLeft) const;
    [[nodiscard]] void* byOrdinal(const Image& importer, const Import& import) const;

    const ImageList& images_;
    const StandIns& standIns_;
};

}  // namespace macho

#endif
