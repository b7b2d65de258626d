// Files that stand in for libraries of the system, in the order in which they were named: Mach-O
// images, loaded like any other, and ELF libraries of this system. The built-in stand-in for the
// system library comes after all of them and is not in here.
#ifndef STAND_INS_H
#define STAND_INS_H

#include <filesystem>
#include <string_view>
#include <vector>

#include "image_list.h"

namespace macho {

// Either an image or an ELF library's handle; the other one is null.
struct StandIn {
    Image* image;
    void* elfLibrary;
};

class StandIns {
  public:
    // Loads `path`, into `images` if it is a Mach-O image. Throws LoadError. Call before any other
    // thread runs.
    void add(const std::filesystem::path& path, ImageList& images);

    [[nodiscard]] const std::vector<StandIn>& all() const { return all_; }

    // What an ELF library itself defines by a Mach-O symbol's name; null otherwise.
    static void* findInElf(void* elfLibrary, std::string_view symbol);

  private:
    std::vector<StandIn> all_;
};

}  // namespace macho

#endif
