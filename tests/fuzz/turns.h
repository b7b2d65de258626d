/*
 * Capture threads that run one at a time, in an order that is always the same, in a time that does
 * not pass by itself.
 *
 * Stands in front of what a capture thread is made with, sleeps with and waits with, at link time.
 * A thread runs when it is given its turn, until it sleeps, ends, or waits for a lock that the host
 * holds; it begins with the wait for its first turn. While the host waits for an event, those take
 * turns whose sleeps end before the wait does. A thread that comes to no rest ends the program.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace turns {

/* A tick to begin with. No thread is left from before. */
void reset(std::uint32_t tick);

/* Lets the thread run whose sleep ends first, and the time go on until then. False if none sleeps.
 */
bool giveNext();

/* The next creation of a thread fails. */
void failNextThread();

std::size_t threads();

/* How many locks of the library the host holds, one that it holds twice counted twice. */
std::size_t locksOfHost();

}  // namespace turns
