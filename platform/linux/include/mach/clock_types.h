#ifndef MACH_CLOCK_TYPES_H
#define MACH_CLOCK_TYPES_H

typedef int clock_id_t;
typedef int clock_res_t;

/* Seconds and nanoseconds since 1970-01-01 00:00 UTC on the calendar clock. */
typedef struct mach_timespec {
    unsigned int tv_sec;
    clock_res_t tv_nsec;
} mach_timespec_t;

/* The clock that shows the time of day and is set when the machine's time is. */
#define CALENDAR_CLOCK 1

#endif
