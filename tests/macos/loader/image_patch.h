// A Mach-O file to be damaged: its bytes, and where its load commands lie. For thin files that are
// sound when they are read.
#ifndef IMAGE_PATCH_H
#define IMAGE_PATCH_H

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace macho {

class ImagePatch {
  public:
    struct Command {
        uint32_t kind;
        size_t offset;
        size_t size;
    };

    // Throws std::runtime_error for a file that is not there or is no Mach-O file.
    explicit ImagePatch(const std::filesystem::path& path);

    [[nodiscard]] const std::vector<uint8_t>& bytes() const { return bytes_; }
    [[nodiscard]] const std::vector<Command>& commands() const { return commands_; }
    // Where the first command of a kind lies. Throws std::runtime_error when there is none.
    [[nodiscard]] size_t command(uint32_t kind) const;
    [[nodiscard]] size_t segment(const std::string& name) const;
    // Behind the last load command.
    [[nodiscard]] size_t commandsEnd() const;

    template <typename Value>
    [[nodiscard]] Value get(size_t offset) const {
        Value value;
        std::memcpy(&value, &bytes_.at(offset), sizeof(Value));
        return value;
    }

    template <typename Value>
    void set(size_t offset, Value value) {
        std::memcpy(&bytes_.at(offset), &value, sizeof(Value));
    }

    void cut(size_t size) { bytes_.resize(size); }
    // Puts bytes in front of all others.
    void prepend(const std::vector<uint8_t>& front);

    // The file keeps the permissions of one that is already there.
    void save(const std::filesystem::path& path) const;

  private:
    std::vector<uint8_t> bytes_;
    std::vector<Command> commands_;
};

}  // namespace macho

#endif
