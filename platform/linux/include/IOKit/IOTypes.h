/* Handles and options of IOKit. */
#ifndef IOKIT_IOTYPES_H
#define IOKIT_IOTYPES_H

#include <mach/port.h>

typedef uint32_t IOOptionBits;
typedef mach_port_t io_object_t;
typedef io_object_t io_service_t;

#endif
