#ifndef MACH_BOOLEAN_H
#define MACH_BOOLEAN_H

typedef unsigned int boolean_t;

#endif
