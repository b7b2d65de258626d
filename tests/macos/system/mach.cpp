// The kernel's ports: small integers that name what a program may ask for, and own nothing.
#include <dirent.h>
#include <sys/mman.h>
#include <time.h>

#include <bit>
#include <cstdint>
#include <memory>

#include "symbol_table.h"

namespace system_library {
namespace {

constexpr int kSuccess = 0;
constexpr int kNoSpace = 3;
constexpr int kInvalidArgument = 4;

uint32_t taskPort = 0x103;
constexpr uint32_t kHostPort = 0x203;
constexpr uint32_t kSystemClockPort = 0x303;
constexpr uint32_t kCalendarClockPort = 0x403;

constexpr int kSystemClock = 0;
constexpr int kCalendarClock = 1;

uint32_t taskSelf() {
    return taskPort;
}

uint32_t hostSelf() {
    return kHostPort;
}

int hostClock(uint32_t host, int clock, uint32_t* port) {
    if (host != kHostPort || (clock != kSystemClock && clock != kCalendarClock)) {
        return kInvalidArgument;
    }
    *port = clock == kSystemClock ? kSystemClockPort : kCalendarClockPort;
    return kSuccess;
}

struct ClockTime {
    uint32_t seconds;
    int32_t nanoseconds;
};

int clockTime(uint32_t port, ClockTime* time) {
    if (port != kSystemClockPort && port != kCalendarClockPort) {
        return kInvalidArgument;
    }
    timespec now{};
    clock_gettime(port == kSystemClockPort ? CLOCK_MONOTONIC : CLOCK_REALTIME, &now);
    *time = {static_cast<uint32_t>(now.tv_sec), static_cast<int32_t>(now.tv_nsec)};
    return kSuccess;
}

int deallocatePort(uint32_t task, uint32_t) {
    return task == taskPort ? kSuccess : kInvalidArgument;
}

uint32_t threadCount() {
    const std::unique_ptr<DIR, int (*)(DIR*)> tasks(opendir("/proc/self/task"), closedir);
    uint32_t count = 0;
    while (const dirent* const entry = tasks == nullptr ? nullptr : readdir(tasks.get())) {
        count += entry->d_name[0] == '.' ? 0 : 1;
    }
    return count;
}

// The caller gives the list back with vm_deallocate. Its ports are good for counting only.
int taskThreads(uint32_t task, uint32_t** list, uint32_t* count) {
    if (task != taskPort) {
        return kInvalidArgument;
    }
    const uint32_t threads = threadCount();
    void* const memory = mmap(nullptr, threads * sizeof(uint32_t), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (threads == 0 || memory == MAP_FAILED) {
        return kNoSpace;
    }
    *list = static_cast<uint32_t*>(memory);
    for (uint32_t i = 0; i < threads; ++i) {
        (*list)[i] = 0x1003 + (i << 8);
    }
    *count = threads;
    return kSuccess;
}

int deallocateMemory(uint32_t task, uintptr_t address, uintptr_t size) {
    if (task != taskPort) {
        return kInvalidArgument;
    }
    return munmap(std::bit_cast<void*>(address), size) == 0 ? kSuccess : kInvalidArgument;
}

const Registration registration{
    symbol("_mach_task_self_", &taskPort), symbol("_mach_task_self", taskSelf),
    symbol("_mach_host_self", hostSelf),   symbol("_host_get_clock_service", hostClock),
    symbol("_clock_get_time", clockTime),  symbol("_mach_port_deallocate", deallocatePort),
    symbol("_task_threads", taskThreads),  symbol("_vm_deallocate", deallocateMemory),
};

}  // namespace
}  // namespace system_library
