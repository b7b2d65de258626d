/*
 * A machine whose clocks go wrong and whose descriptors are used up, for this process alone.
 *
 * Stands in front of clock_gettime, gettimeofday, time and get_tick_count, and in front of the
 * waits that go by the calendar's clock: no substitute reaches into those, so they are counted.
 */
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdint>

namespace faulty_machine {

/* Sets the calendar's clock so far off the right time. */
void setCalendarOff(std::chrono::seconds by);

/* Waits until a time of the calendar's since the program began. */
unsigned calendarWaits();

/* Makes the tick this number now; it goes on from there. */
void setTick(std::uint32_t now);

}  // namespace faulty_machine

/* No descriptor can be opened while it lives, those that are open go on to work. A poll of more
 * than three of them does not. */
class NoDescriptors {
  public:
    NoDescriptors();
    ~NoDescriptors();
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit previous_{};
};
