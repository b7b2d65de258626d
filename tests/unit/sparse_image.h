// Zeroed memory larger than the machine's: only the pages that were written to take any room.
#ifndef UNIT_SPARSE_IMAGE_H
#define UNIT_SPARSE_IMAGE_H

#include <cstddef>

class SparseImage {
  public:
    // Throws std::system_error when there are no such many addresses.
    explicit SparseImage(size_t size);
    ~SparseImage();
    SparseImage(const SparseImage&) = delete;
    SparseImage& operator=(const SparseImage&) = delete;

    unsigned char* at(size_t offset) { return start_ + offset; }

  private:
    unsigned char* start_;
    size_t size_;
};

#endif
