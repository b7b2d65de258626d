#include <chrono>

#include "vqutilc.h"

VQ_Event::VQ_Event() = default;

VQ_Event::~VQ_Event() = default;

// Notified under the lock: a waiter may destroy the event as soon as it has seen it set.
void VQ_Event::set_event() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_bSet = true;
    m_changed.notify_all();
}

void VQ_Event::reset_event() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_bSet = false;
}

bool VQ_Event::wait(unsigned int ms) {
    std::unique_lock<std::mutex> guard(m_mutex);
    return m_changed.wait_for(guard, std::chrono::milliseconds(ms), [this] { return m_bSet; });
}
