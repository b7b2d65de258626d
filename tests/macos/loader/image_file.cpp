#include "image_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "load_error.h"
#include "macho_format.h"

namespace macho {
namespace {

constexpr char kName[] = "the file";

std::vector<uint8_t> readWhole(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw LoadError("it is a directory");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw LoadError(std::string("it cannot be opened: ") + std::strerror(errno));
    }
    file.seekg(0, std::ios::end);
    std::vector<uint8_t> contents(static_cast<size_t>(std::max<std::streamoff>(file.tellg(), 0)));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(contents.data()),
              static_cast<std::streamsize>(contents.size()));
    if (!file) {
        throw LoadError(std::string("it cannot be read: ") + std::strerror(errno));
    }
    return contents;
}

uint32_t bigEndian32(const Bytes& bytes, uint64_t offset) {
    return __builtin_bswap32(bytes.read<uint32_t>(offset));
}

uint64_t bigEndian64(const Bytes& bytes, uint64_t offset) {
    return __builtin_bswap64(bytes.read<uint64_t>(offset));
}

// A universal file's table has one row per processor: processor, variant, offset, size, alignment;
// offset and size have 64 bits in the wide kind, which ends with a reserved field.
Bytes partForThisProcessor(const Bytes& file, bool wide) {
    const uint64_t rowSize = wide ? 32 : 20;
    const uint32_t rowCount = bigEndian32(file, 4);
    for (uint64_t row = 8, i = 0; i < rowCount; row += rowSize, ++i) {
        if (bigEndian32(file, row) != kProcessorX86_64) {
            continue;
        }
        const uint64_t offset = wide ? bigEndian64(file, row + 8) : bigEndian32(file, row + 8);
        const uint64_t size = wide ? bigEndian64(file, row + 16) : bigEndian32(file, row + 12);
        return file.part(offset, size, "the image in the universal file");
    }
    throw LoadError("the universal file holds no image for x86-64");
}

Bytes chooseImage(const Bytes& file) {
    const uint32_t magic = bigEndian32(file, 0);
    if (magic == kUniversalMagic || magic == kUniversalMagic64) {
        return partForThisProcessor(file, magic == kUniversalMagic64);
    }
    return file;
}

void checkHeader(const Bytes& image) {
    const auto magic = image.read<uint32_t>(0);
    if (magic == kMagic32) {
        throw LoadError("it is for a 32-bit processor, not for x86-64");
    }
    if (magic != kMagic64) {
        throw LoadError("it is not a Mach-O file");
    }
    if (image.read<Header>(0).processor != kProcessorX86_64) {
        throw LoadError("it is for another processor, not for x86-64");
    }
}

}  // namespace

ImageFile::ImageFile(const std::filesystem::path& path) : contents_(readWhole(path)) {
    image_ = chooseImage({contents_.data(), contents_.size(), kName});
    checkHeader(image_);
}

bool ImageFile::isElf(const std::filesystem::path& path) {
    constexpr std::array<char, 4> kElfMagic = {0x7f, 'E', 'L', 'F'};
    std::array<char, 4> start = {};
    std::ifstream(path, std::ios::binary).read(start.data(), start.size());
    return start == kElfMagic;
}

}  // namespace macho
