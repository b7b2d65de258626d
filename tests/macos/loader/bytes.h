// A stretch of a file that somebody else wrote: every read is checked against the stretch, and one
// that leaves it throws LoadError with the stretch's name. The bytes belong to whoever made the
// first stretch.
#ifndef BYTES_H
#define BYTES_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace macho {

class Bytes {
  public:
    Bytes() = default;
    // `name` says in messages what is read; it must outlive the stretch, as a literal does.
    Bytes(const uint8_t* data, uint64_t size, const char* name)
        : data_(data), size_(size), name_(name) {}

    [[nodiscard]] uint64_t size() const { return size_; }
    [[nodiscard]] const char* name() const { return name_; }

    [[nodiscard]] Bytes part(uint64_t offset, uint64_t size, const char* name) const;
    [[nodiscard]] const uint8_t* at(uint64_t offset, uint64_t size) const;
    // Up to a zero byte, which must be inside the stretch.
    [[nodiscard]] std::string_view text(uint64_t offset) const;

    template <typename Record>
    [[nodiscard]] Record read(uint64_t offset) const {
        Record record;
        std::memcpy(&record, at(offset, sizeof(Record)), sizeof(Record));
        return record;
    }

  private:
    const uint8_t* data_ = nullptr;
    uint64_t size_ = 0;
    const char* name_ = "";
};

// Reads a stretch from front to back.
class ByteReader {
  public:
    explicit ByteReader(Bytes bytes, uint64_t offset = 0) : bytes_(bytes), offset_(offset) {}

    [[nodiscard]] bool atEnd() const { return offset_ >= bytes_.size(); }
    [[nodiscard]] uint64_t offset() const { return offset_; }
    [[nodiscard]] uint64_t left() const { return atEnd() ? 0 : bytes_.size() - offset_; }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

    template <typename Value>
    Value next() {
        const auto value = bytes_.read<Value>(offset_);
        offset_ += sizeof(Value);
        return value;
    }

    // Numbers in as many bytes as they need, seven bits in each, the lowest first (LEB128).
    uint64_t unsignedNumber();
    int64_t signedNumber();
    std::string_view text();

  private:
    Bytes bytes_;
    uint64_t offset_;
};

}  // namespace macho

#endif
