#ifndef MACH_KERN_RETURN_H
#define MACH_KERN_RETURN_H

typedef int kern_return_t;

#define KERN_SUCCESS 0
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5

#endif
