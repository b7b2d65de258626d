#include <chrono>

#include "vqutilc.h"

uint32_t get_tick_count(void) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}
