#include "image_patch.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "macho_format.h"

namespace macho {

ImagePatch::ImagePatch(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    const std::string text = contents.str();
    bytes_.assign(text.begin(), text.end());
    if (bytes_.size() < sizeof(Header) || get<uint32_t>(0) != kMagic64) {
        throw std::runtime_error(path.string() + " is not a Mach-O file");
    }
    size_t offset = sizeof(Header);
    for (uint32_t i = 0; i < get<Header>(0).commandCount; ++i) {
        const auto command = get<CommandHeader>(offset);
        commands_.push_back({command.command, offset, command.size});
        offset += command.size;
    }
}

size_t ImagePatch::command(uint32_t kind) const {
    const auto found = std::find_if(commands_.begin(), commands_.end(),
                                    [=](const Command& each) { return each.kind == kind; });
    if (found == commands_.end()) {
        throw std::runtime_error("no load command " + std::to_string(kind));
    }
    return found->offset;
}

size_t ImagePatch::segment(const std::string& name) const {
    for (const Command& each : commands_) {
        if (each.kind == kSegment && name == get<SegmentCommand>(each.offset).name) {
            return each.offset;
        }
    }
    throw std::runtime_error("no segment " + name);
}

size_t ImagePatch::commandsEnd() const {
    return commands_.back().offset + commands_.back().size;
}

void ImagePatch::prepend(const std::vector<uint8_t>& front) {
    bytes_.insert(bytes_.begin(), front.begin(), front.end());
}

void ImagePatch::save(const std::filesystem::path& path) const {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes_.data()),
               static_cast<std::streamsize>(bytes_.size()));
    if (!file.flush()) {
        throw std::runtime_error(path.string() + " cannot be written");
    }
}

}  // namespace macho
