// One image of the running program: its file, what its load commands say, and its memory. Lives
// until the process ends, since code of it may run until then.
#ifndef IMAGE_H
#define IMAGE_H

#include <filesystem>
#include <string>
#include <vector>

#include "image_file.h"
#include "load_commands.h"
#include "segment_mapping.h"

namespace macho {

class Image;

// A dependency, once it was looked for. The numbers by which fixups name libraries count these
// from 1.
struct Library {
    std::string name;  // as the image that needs it calls it
    bool reexported;
    bool ofSystem;  // never opened: its symbols come from what stands in for it
    Image* image;   // null for the system's, and for one that may be missing and is
};

class Image {
  public:
    // Reads and maps the file. `loadedBy` is the image that needed this one first; null for those
    // that were named on the command line. Throws LoadError without the path.
    Image(std::filesystem::path path, const Image* loadedBy);

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] const Image* loadedBy() const { return loadedBy_; }
    [[nodiscard]] const LoadCommands& commands() const { return commands_; }
    [[nodiscard]] const SegmentMapping& memory() const { return memory_; }
    [[nodiscard]] SegmentMapping& memory() { return memory_; }
    // Where the file's header lies in memory; offsets in the image count from here.
    [[nodiscard]] uint8_t* header() const { return memory_.at(*commands_.headerAddress); }
    // A section's contents in memory.
    [[nodiscard]] Bytes contents(const Section& section, const char* name) const;

    // Filled in when the whole program is loaded.
    std::vector<Library> libraries;

  private:
    std::filesystem::path path_;
    const Image* loadedBy_;
    ImageFile file_;
    LoadCommands commands_;
    SegmentMapping memory_;
};

}  // namespace macho

#endif
