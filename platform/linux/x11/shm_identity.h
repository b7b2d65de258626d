/* Whether an X server means the same memory as we do by a System V identifier. */
#pragma once

#include <cstdint>

#include "x11/connection.h"
#include "x11/shared_mapping.h"

namespace qor::x11 {

/* True if the server reads in the memory with the given identifier what we wrote to it. Identifiers
 * are small numbers that count anew on every machine, and a forwarded connection looks like one of
 * this machine: a server that attached another program's memory would write the screen over it. So
 * it is asked to read first. The start of the memory is overwritten. */
bool serverSees(Connection& connection, const SharedMapping& memory, std::uint32_t identifier);

}  // namespace qor::x11
