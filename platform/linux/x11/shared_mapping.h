/* Memory that the display server can map too, and nobody else. */
#pragma once

#include <cstddef>
#include <optional>

namespace qor::x11 {

/* Owns a mapping of either kind, and unmaps it. */
class SharedMapping {
  public:
    SharedMapping(SharedMapping&& other) noexcept;
    SharedMapping& operator=(SharedMapping&&) = delete;
    ~SharedMapping();

    std::byte* data() const { return data_; }
    std::size_t size() const { return size_; }

  private:
    enum class Kind { file, systemV };
    SharedMapping(Kind kind, void* data, std::size_t size)
        : kind_(kind), data_(static_cast<std::byte*>(data)), size_(size) {}
    friend struct DescriptorMemory;
    friend struct IdentifierMemory;

    Kind kind_;
    std::byte* data_;  // null once moved from
    std::size_t size_;
};

/* Memory known by a descriptor, to be passed to the server. It has no name, all its pages are set
 * aside, and its size is sealed, so the server can rely on it. */
struct DescriptorMemory {
    SharedMapping mapping;
    int descriptor;  // the caller's to pass on or close; the mapping does not need it

    /* Null, with the reason in errno, if there is no such memory to be had. */
    static std::optional<DescriptorMemory> create(std::size_t size);
};

/* System V memory, known by an identifier, that only this user may attach. It is marked for removal
 * from the start: it goes when the last process that has it attached is gone, however it ended. */
struct IdentifierMemory {
    SharedMapping mapping;
    int identifier;

    /* Null, with the reason in errno, if there is no such memory to be had. */
    static std::optional<IdentifierMemory> create(std::size_t size);
};

}  // namespace qor::x11
