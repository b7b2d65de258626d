#include "bytes.h"

#include <string>

#include "load_error.h"

namespace macho {
namespace {

constexpr unsigned kBitsPerByte = 7;
constexpr uint8_t kMoreFollows = 0x80;
constexpr uint8_t kLowBits = 0x7f;
constexpr uint8_t kNegative = 0x40;
constexpr unsigned kWidth = 64;

}  // namespace

const uint8_t* Bytes::at(uint64_t offset, uint64_t size) const {
    if (offset > size_ || size > size_ - offset) {
        throw LoadError(std::string(name_) + " is cut off: " + std::to_string(size) +
                        " bytes wanted at " + std::to_string(offset) + " of " +
                        std::to_string(size_));
    }
    return data_ + offset;
}

Bytes Bytes::part(uint64_t offset, uint64_t size, const char* name) const {
    if (offset > size_ || size > size_ - offset) {
        throw LoadError(std::string(name) + " is cut off: it lies outside " + name_);
    }
    return {data_ + offset, size, name};
}

std::string_view Bytes::text(uint64_t offset) const {
    const uint8_t* const start = at(offset, 0);
    const uint64_t space = size_ - offset;
    const void* const end = space == 0 ? nullptr : std::memchr(start, 0, space);
    if (end == nullptr) {
        throw LoadError(std::string(name_) + " is cut off: a name does not end");
    }
    return {reinterpret_cast<const char*>(start),
            static_cast<size_t>(static_cast<const uint8_t*>(end) - start)};
}

uint64_t ByteReader::unsignedNumber() {
    uint64_t value = 0;
    for (unsigned shift = 0;; shift += kBitsPerByte) {
        const auto byte = next<uint8_t>();
        const uint64_t bits = byte & kLowBits;
        if (shift >= kWidth || bits << shift >> shift != bits) {
            throw LoadError(std::string(bytes_.name()) + " holds a number of more than 64 bits");
        }
        value |= bits << shift;
        if ((byte & kMoreFollows) == 0) {
            return value;
        }
    }
}

int64_t ByteReader::signedNumber() {
    uint64_t value = 0;
    unsigned shift = 0;
    uint8_t byte = kMoreFollows;
    for (; (byte & kMoreFollows) != 0; shift += kBitsPerByte) {
        if (shift >= kWidth) {
            throw LoadError(std::string(bytes_.name()) + " holds a number of more than 64 bits");
        }
        byte = next<uint8_t>();
        value |= static_cast<uint64_t>(byte & kLowBits) << shift;
    }
    if (shift < kWidth && (byte & kNegative) != 0) {
        value |= ~uint64_t{0} << shift;
    }
    return static_cast<int64_t>(value);
}

std::string_view ByteReader::text() {
    const std::string_view text = bytes_.text(offset_);
    offset_ += text.size() + 1;
    return text;
}

}  // namespace macho
