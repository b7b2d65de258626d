// Stands in front of get_tick_count, usleep and VQ_Event::wait: a clock that only the test moves,
// and sleeps that end when the test lets them.
//
// A thread that sleeps stays asleep until wake() or runFreely(). Each sleep moves the clock by its
// length when it ends. A thread that waits for an event lets all others run freely, as time goes on
// while it waits.
#ifndef CONTRACT_DRIVEN_TIME_H
#define CONTRACT_DRIVEN_TIME_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace driven_time {

void reset();  // sleeps wait to be woken, the clock shows 5000, nothing recorded

void setTick(uint32_t tick);
void advance(uint32_t milliseconds);

// The length in microseconds of the sleep that a thread is in, once one is; none after 10 s.
std::optional<useconds_t> awaitSleep();

// Ends the sleep that a thread is in. Call after awaitSleep.
void wake();

// From now on sleeps end at once.
void runFreely();

// Lengths of all sleeps so far, in microseconds.
std::vector<useconds_t> sleeps();

// Makes the next waits for an event time out at once, without anything being waited for.
void timeOutNextEventWait(size_t waits = 1);

// The milliseconds that events were waited for.
std::vector<unsigned int> eventWaits();

}  // namespace driven_time

#endif
