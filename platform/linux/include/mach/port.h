/* Handles of system objects. */
#ifndef MACH_PORT_H
#define MACH_PORT_H

#include <stdint.h>

typedef uint32_t mach_port_t;
typedef mach_port_t mach_port_name_t;

#define MACH_PORT_NULL 0

#endif
