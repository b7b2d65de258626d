/* What the process holds whenever it is at the same point, which must not grow. */
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "process_resources.h"

/* KiB. */
struct Memory {
    std::size_t inUse = 0;     // of the heap; 0 in builds with sanitizers, which do not tell
    std::size_t resident = 0;  // of everything

    static Memory now();
};

class Holdings {
  public:
    /* There are as many threads as there may ever be. */
    Holdings();

    /* To be called at that point. Waits for what ends by itself; throws Broken when there is more
     * than there was at the first call. */
    void check();

    /* How much has come on since the warm-up, as the straight line through all measurements has it.
     * Empty when there are too few to tell. */
    struct Growth {
        double inUse = 0;
        double resident = 0;
    };
    std::optional<Growth> growth() const;
    /* Throws Broken when that is more than it may be. */
    void checkGrowth() const;

    std::size_t threads() const { return threads_; }
    const std::optional<ProcessResources>& resources() const { return resources_; }
    /* One for each check. */
    const std::vector<Memory>& memory() const { return memory_; }

  private:
    std::size_t threads_ = 0;
    std::optional<ProcessResources> resources_;
    std::vector<Memory> memory_;
};
