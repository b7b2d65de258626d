/*
 * Has allocations of this process fail: of memory by whatever way, of shared memory, of threads.
 *
 * Those count that other threads make, and that this program's own do within Counted. With the
 * sanitizers, whose memory functions must stay, those of the C library do not.
 */
#pragma once

#include <cstddef>

namespace shortage {

enum class Length {
    one,      // one allocation fails
    lasting,  // as do all that follow
};

/* Of the allocations from now on that count, the one of that number, the first being 1, fails. */
void begin(Length length, std::size_t number);

/* Memory is to be had again. Whether any allocation failed. */
bool end();

/* The calling thread is one of this program's own. */
void exemptThisThread();

/* What the thread allocates while it lives counts: it is in a call of the library. */
class Counted {
  public:
    Counted();
    ~Counted();
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
};

/* What the calling thread allocates does not count until this is taken back. */
void exempt(bool begins);

}  // namespace shortage
