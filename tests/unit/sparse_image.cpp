#include "sparse_image.h"

#include <sys/mman.h>

#include <cerrno>
#include <system_error>

SparseImage::SparseImage(size_t size) : size_(size) {
    void* const start = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (start == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "sparse image: mmap");
    }
    start_ = static_cast<unsigned char*>(start);
}

SparseImage::~SparseImage() {
    munmap(start_, size_);
}
