/* What this process takes of the machine. */
#ifndef CAPMGR_PROCESS_USAGE_H
#define CAPMGR_PROCESS_USAGE_H

#include <chrono>
#include <cstdint>

/* Processor time since the process began, of all threads. */
std::chrono::microseconds processorTime();

/* Bytes of memory that it has at the moment; 0 if that cannot be told. */
std::uint64_t residentMemory();

#endif
