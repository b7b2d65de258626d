#include <mach/clock.h>
#include <mach/mach.h>

#include <ctime>

namespace {

// Any distinct non-zero numbers do: a handle names one of the few objects there are, and none of
// them is ever freed.
constexpr mach_port_t kHostPort = 1;
constexpr mach_port_t kTaskPort = 2;
constexpr mach_port_t kCalendarClockPort = 3;

}  // namespace

mach_port_t mach_host_self() {
    return kHostPort;
}

mach_port_t mach_task_self() {
    return kTaskPort;
}

kern_return_t host_get_clock_service(host_t host, clock_id_t clockId, mach_port_t* clock) {
    const bool known = host == kHostPort && clockId == CALENDAR_CLOCK;
    *clock = known ? kCalendarClockPort : MACH_PORT_NULL;
    return known ? KERN_SUCCESS : KERN_INVALID_ARGUMENT;
}

kern_return_t clock_get_time(clock_serv_t clock, mach_timespec_t* currentTime) {
    if (clock != kCalendarClockPort)
        return KERN_INVALID_ARGUMENT;
    timespec now{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0)
        return KERN_FAILURE;
    currentTime->tv_sec = static_cast<unsigned int>(now.tv_sec);
    currentTime->tv_nsec = static_cast<clock_res_t>(now.tv_nsec);
    return KERN_SUCCESS;
}

kern_return_t mach_port_deallocate(ipc_space_t task, mach_port_name_t name) {
    return task == kTaskPort && name != MACH_PORT_NULL ? KERN_SUCCESS : KERN_INVALID_ARGUMENT;
}
