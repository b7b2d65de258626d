#include <mach/mach.h>

#include "process_usage.h"

std::uint64_t residentMemory() {
    mach_task_basic_info info{};
    mach_msg_type_number_t count = MACH_TASK_BASIC_INFO_COUNT;
    const kern_return_t result = task_info(mach_task_self(), MACH_TASK_BASIC_INFO,
                                           reinterpret_cast<task_info_t>(&info), &count);
    return result == KERN_SUCCESS ? info.resident_size : 0;
}
