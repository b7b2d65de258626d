#include "vqutilc.h"

// Waiting is done on the condition, not on a recursive mutex: waiting for a mutex cannot be
// cancelled, and unlocking one unowned, which callers may do, is an error to thread checkers. The
// mutex is POSIX's own, not the language's: where a thread is cancelled, macOS runs its cleanup
// handlers and no destructor.

VQ_Critical_Section::VQ_Critical_Section() = default;

VQ_Critical_Section::~VQ_Critical_Section() {
    pthread_cond_destroy(&m_released);
    pthread_mutex_destroy(&m_mutex);
}

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
    pthread_mutex_lock(&m_mutex);
    if (m_nDepth != 0 && pthread_equal(m_owner, pthread_self()) != 0) {
        ++m_nDepth;
    } else {
        awaitRelease();
        m_owner = pthread_self();
        m_nDepth = 1;
    }
    pthread_mutex_unlock(&m_mutex);
}

// A thread that is cancelled here holds the mutex again, and may have been the one that was woken.
void VQ_Critical_Section::awaitRelease() {
    pthread_cleanup_push(leaveToOthers, this);
    while (m_nDepth != 0) {
        pthread_cond_wait(&m_released, &m_mutex);
    }
    pthread_cleanup_pop(0);
}

void VQ_Critical_Section::leaveToOthers(void* section) {
    auto& self = *static_cast<VQ_Critical_Section*>(section);
    pthread_cond_signal(&self.m_released);
    pthread_mutex_unlock(&self.m_mutex);
}

void VQ_Critical_Section::unlock() {
    if (!m_bReady) {
        return;
    }
    pthread_mutex_lock(&m_mutex);
    if (m_nDepth != 0 && pthread_equal(m_owner, pthread_self()) != 0 && --m_nDepth == 0) {
        pthread_cond_signal(&m_released);
    }
    pthread_mutex_unlock(&m_mutex);
}
