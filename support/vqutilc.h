/** @file
 * Utility library: trace facility, text stream, critical section, event, tick count.
 *
 * The capture manager uses these through this interface alone and binds them when it is loaded, so
 * a host may put an implementation of its own in place of the bundled libqor_conf_vqutilc. The C
 * functions are usable from C11 on, the classes from C++17 on.
 *
 * Threads: every function and member may be called from any thread at any time, except where a
 * member says otherwise. A thread is not to be cancelled in any of them but
 * VQ_Critical_Section::lock.
 */
#ifndef QOR_CONF_VQUTILC_H
#define QOR_CONF_VQUTILC_H

#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
#include <pthread.h>

#include <condition_variable>
#include <mutex>
#endif

/** Marks everything that the library exports. */
#define VQ_API __attribute__((visibility("default")))
/** Keeps a member of an exported class out. */
#define VQ_LOCAL __attribute__((visibility("hidden")))

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The level up to which messages are wanted: 0 errors, 1 warnings, 2 information, 3 per-frame
 * detail; below 0 nothing. 0 until a host says otherwise.
 */
VQ_API int vq_trace_level(void);

/** Sets what vq_trace_level returns. */
VQ_API void vq_set_trace_level(int level);

/** Non-zero when each message is to begin with its source position; 0 until a host says otherwise.
 */
VQ_API int vq_get_trace_file_line(void);

/** Sets what vq_get_trace_file_line returns. */
VQ_API void vq_set_trace_file_line(int enabled);

/**
 * Hands one finished message (NUL-terminated, no line end; owned by the caller) to the writer.
 * flag 1 marks messages that repeat per frame, 0 all others; writing treats both alike.
 */
VQ_API void vq_trace_write(int level, const char* text, int flag);

/** Told of every message after it was written. The bundled facility has no second place for it. */
VQ_API void vq_trace_input_error_msg(int level, const char* text);

/**
 * Routes the messages to writer, with context as its first argument; null goes back to standard
 * error, one line a message. Calls of the writer never overlap; what it throws is dropped. When
 * this returns, the writer set before is not running and is not called again, unless this was
 * called from inside it.
 */
VQ_API void vq_set_trace_writer(void (*writer)(void* context, int level, const char* text,
                                               int flag),
                                void* context);

/** Milliseconds of a clock that never jumps, modulo 2^32: subtract as unsigned 32-bit. */
VQ_API uint32_t get_tick_count(void);

/**
 * Formats like snprintf into buffer, of size bytes, at most count characters and always a NUL.
 * The number of characters written; -1 when the text was cut, or, with nothing written, when an
 * argument is null or size is 0.
 */
VQ_API int snprintf_s(char* buffer, size_t size, size_t count, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}

/**
 * Builds one message piece by piece. Never throws: when memory runs out, what does not fit is
 * dropped. Not for use by two threads at once.
 */
class VQ_API VQ_Text_Stream {
  public:
    /** capacity: bytes to begin with; growth: least number of bytes to grow by. */
    VQ_Text_Stream(unsigned int capacity, unsigned int growth);
    ~VQ_Text_Stream();
    VQ_Text_Stream(const VQ_Text_Stream&) = delete;
    VQ_Text_Stream& operator=(const VQ_Text_Stream&) = delete;

    VQ_Text_Stream& operator<<(const char* text);    /**< null appends nothing */
    VQ_Text_Stream& operator<<(const void* pointer); /**< hexadecimal with 0x; null is 0x0 */
    VQ_Text_Stream& operator<<(double value);        /**< m_nFormat says how */
    VQ_Text_Stream& operator<<(int value);           /**< decimal */
    VQ_Text_Stream& operator<<(unsigned int value);  /**< decimal */
    VQ_Text_Stream& operator<<(unsigned long value); /**< decimal */

    /** Most digits after the decimal point of a double; trailing zeros are left out. */
    unsigned int m_nFormat = 6;

    /** The text so far, NUL-terminated, owned by the stream; moves when a piece is appended. */
    char* m_pText;

  private:
    VQ_LOCAL void append(const char* text, size_t length) noexcept;
    VQ_LOCAL bool reserve(size_t length) noexcept;

    size_t m_nLength = 0;
    size_t m_nCapacity; /**< 0 while m_pText is m_szEmpty */
    size_t m_nGrowth;
    char m_szEmpty[1] = {0};
};

/**
 * A recursive lock that knows its owner: unlock by a thread that does not hold it has no effect.
 * lock waits in a cancellation point. Before init and after cleanup, lock and unlock do nothing.
 */
class VQ_API VQ_Critical_Section {
  public:
    VQ_Critical_Section();
    ~VQ_Critical_Section();
    VQ_Critical_Section(const VQ_Critical_Section&) = delete;
    VQ_Critical_Section& operator=(const VQ_Critical_Section&) = delete;

    void init();    /**< once, before any other thread knows the object */
    void cleanup(); /**< once, when no thread uses the object any more */
    void lock();    /**< waits until no other thread holds it */
    void unlock();  /**< lets go of one lock */

  private:
    VQ_LOCAL void awaitRelease();
    VQ_LOCAL static void leaveToOthers(void* section);

    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER; /**< held for an instant only */
    pthread_cond_t m_released = PTHREAD_COND_INITIALIZER;
    pthread_t m_owner{};
    unsigned int m_nDepth = 0; /**< locks held by m_owner; 0 when free */
    bool m_bReady = false;
};

/** An event that stays set, for every waiter, until it is reset. Unset to begin with. */
class VQ_API VQ_Event {
  public:
    VQ_Event();
    ~VQ_Event();
    VQ_Event(const VQ_Event&) = delete;
    VQ_Event& operator=(const VQ_Event&) = delete;

    void set_event();   /**< lets every waiter go on */
    void reset_event(); /**< has waiters wait again */

    /** Waits up to ms milliseconds. True when the event is set, false when the time ran out. */
    bool wait(unsigned int ms);

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bSet = false;
};
#endif

#endif
