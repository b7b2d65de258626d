// The bytes of one Mach-O image for x86-64: a file of its own, or the part of a universal file that
// is for this processor. Read whole, so that a file that changes afterwards changes nothing here.
#ifndef IMAGE_FILE_H
#define IMAGE_FILE_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include "bytes.h"

namespace macho {

class ImageFile {
  public:
    // Throws LoadError, without the path, for what cannot be read or is for another processor.
    explicit ImageFile(const std::filesystem::path& path);

    // Valid as long as this object, and after it was moved.
    [[nodiscard]] Bytes bytes() const { return image_; }

    // Whether the file's first bytes are those of an ELF file. False for one that cannot be read.
    static bool isElf(const std::filesystem::path& path);

  private:
    std::vector<uint8_t> contents_;
    Bytes image_;
};

}  // namespace macho

#endif
