/*
 * The host, its clocks, and their handles.
 *
 * On Linux the handles are plain numbers, so none is ever used up; they are given back all the
 * same, as the source is shared with macOS.
 */
#ifndef MACH_MACH_H
#define MACH_MACH_H

#include <mach/boolean.h>
#include <mach/clock_types.h>
#include <mach/kern_return.h>
#include <mach/port.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef mach_port_t host_t;
typedef mach_port_t ipc_space_t;

/* This machine, and this process. Any thread. */
mach_port_t mach_host_self(void);
mach_port_t mach_task_self(void);

/* A handle of the given clock in *clock, to be given back with mach_port_deallocate.
 * KERN_INVALID_ARGUMENT, and *clock MACH_PORT_NULL, for any clock but CALENDAR_CLOCK. Any thread.
 */
kern_return_t host_get_clock_service(host_t host, clock_id_t clockId, mach_port_t* clock);

/* Gives a handle back. Any thread. */
kern_return_t mach_port_deallocate(ipc_space_t task, mach_port_name_t name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
