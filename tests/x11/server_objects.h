/* What clients have made in a test's X server. */
#pragma once

#include <cstdint>
#include <map>
#include <string>

/* How many objects of each type all clients together have, by the server's own count; that of the
 * question itself is left out. Throws std::runtime_error if the server cannot be asked. */
std::map<std::string, std::uint32_t> objectsInServer(const std::string& display);
