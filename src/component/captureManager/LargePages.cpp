#include "LargePages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

void PreferLargePages(void* block, std::size_t size) {
#ifdef MADV_HUGEPAGE
    const int before = errno;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    // Whole pages of the block only: those at its ends may hold other things.
    if (std::align(page, page, block, size) != nullptr) {
        madvise(block, size / page * page, MADV_HUGEPAGE);
    }
    errno = before;
#else
    static_cast<void>(block);
    static_cast<void>(size);
#endif
}
