/* Reading a clock. */
#ifndef MACH_CLOCK_H
#define MACH_CLOCK_H

#include <mach/clock_types.h>
#include <mach/kern_return.h>
#include <mach/port.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef mach_port_t clock_serv_t;

/* The clock's present time in *currentTime. KERN_INVALID_ARGUMENT, and *currentTime as it was, if
 * clock is not one that host_get_clock_service gave. Any thread. */
kern_return_t clock_get_time(clock_serv_t clock, mach_timespec_t* currentTime);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
