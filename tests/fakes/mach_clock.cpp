// The calendar clock as the script has it. Where the system has Mach, its own header neither makes
// these visible nor knows mach_task_self as a function.
#include <mach/clock.h>
#include <mach/mach.h>

#include "script.h"

using scripted::Invocation;
using scripted::Output;

namespace {

constexpr mach_port_t kHostPort = 0x203;
constexpr mach_port_t kTaskPort = 0x103;
constexpr mach_port_t kCalendarPort = 0x1007;

}  // namespace

SCRIPTED_API mach_port_t mach_host_self() {
    const Invocation call("mach_host_self");
    return kHostPort;
}

#ifdef mach_task_self
SCRIPTED_API mach_port_t mach_task_self_ = kTaskPort;
#else
mach_port_t mach_task_self() {
    const Invocation call("mach_task_self");
    return kTaskPort;
}
#endif

SCRIPTED_API kern_return_t host_get_clock_service(host_t host, clock_id_t clockId,
                                                  mach_port_t* clock) {
    const Invocation call("host_get_clock_service", host, clockId, Output{clock});
    if (call.fails() || host != kHostPort || clockId != CALENDAR_CLOCK) {
        return KERN_FAILURE;
    }
    *clock = kCalendarPort;
    ++call.script().clockPorts;
    return KERN_SUCCESS;
}

SCRIPTED_API kern_return_t clock_get_time(clock_serv_t clock, mach_timespec_t* currentTime) {
    const Invocation call("clock_get_time", clock, Output{currentTime});
    if (call.fails() || clock != kCalendarPort) {
        return KERN_FAILURE;
    }
    *currentTime = call.script().calendar;
    return KERN_SUCCESS;
}

SCRIPTED_API kern_return_t mach_port_deallocate(ipc_space_t task, mach_port_name_t name) {
    const Invocation call("mach_port_deallocate", task, name);
    if (call.fails() || task != kTaskPort || name != kCalendarPort ||
        call.script().clockPorts == 0) {
        call.objects().blame("mach_port_deallocate of a foreign port");
        return KERN_INVALID_ARGUMENT;
    }
    --call.script().clockPorts;
    return KERN_SUCCESS;
}
