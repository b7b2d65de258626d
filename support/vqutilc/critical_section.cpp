#include "vqutilc.h"

// Waiting is done on the condition, not on a recursive mutex: waiting for a mutex cannot be
// cancelled, and unlocking one unowned, which callers may do, is an error to thread checkers.

VQ_Critical_Section::VQ_Critical_Section() = default;

VQ_Critical_Section::~VQ_Critical_Section() = default;

void VQ_Critical_Section::init() {
    m_nDepth = 0;
    m_bReady = true;
}

void VQ_Critical_Section::cleanup() {
    m_bReady = false;
}

void VQ_Critical_Section::lock() {
    if (!m_bReady) {
        return;
    }
    std::unique_lock<std::mutex> guard(m_mutex);
    const std::thread::id self = std::this_thread::get_id();
    if (m_nDepth != 0 && m_owner == self) {
        ++m_nDepth;
        return;
    }
    while (m_nDepth != 0) {
        m_released.wait(guard);
    }
    m_owner = self;
    m_nDepth = 1;
}

void VQ_Critical_Section::unlock() {
    if (!m_bReady) {
        return;
    }
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_nDepth == 0 || m_owner != std::this_thread::get_id()) {
        return;
    }
    if (--m_nDepth == 0) {
        m_released.notify_one();
    }
}
