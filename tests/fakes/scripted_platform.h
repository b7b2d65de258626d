/*
 * The control side of the scripted platform: a shared library that takes the place of the real
 * libqor_coregraphics and answers every platform call from a script, in domain terms.
 *
 * Life: reset() makes a platform without displays, windows, failures or records. Plug displays in,
 * change them, let the library under test run, then read what it called and what it did wrong.
 *
 * Threads: every function may be called from any thread. Calls of the library are recorded in the
 * order in which they came, whatever thread they came from.
 *
 * The platform is strict: an object that is released too often, used after its last release, or
 * was never made here is a fault, and so is an object still referenced when leaks are asked for.
 * The memory of released objects is kept until reset(), so that a fault is told, not suffered.
 */
#ifndef SCRIPTED_PLATFORM_H
#define SCRIPTED_PLATFORM_H

#include <CoreGraphics/CGGeometry.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#define SCRIPTED_API __attribute__((visibility("default")))

namespace scripted {

/* A display's current mode. */
struct Mode {
    size_t pointWidth = 0;
    size_t pointHeight = 0;
    size_t pixelWidth = 0;
    size_t pixelHeight = 0;
    double refreshRate = 59.94;
    std::optional<std::string> pixelEncoding = "--------RRRRRRRRGGGGGGGGBBBBBBBB";
};

/* A display's product name in one locale. */
struct ProductName {
    std::string locale;
    std::string text; /* UTF-8 */
};

/* The 32-bit pixel at column x and row y of a display, in pixels from its upper left. */
using PixelSource = std::function<uint32_t(size_t x, size_t y)>;

/* A picture without two equal corners, and no two equal neighbours. */
SCRIPTED_API uint32_t colourfulPixel(size_t x, size_t y);

/* One display. Awkward unless a test says otherwise: rows of its images are padded. */
struct Display {
    uint32_t id = 0;
    CGRect bounds{}; /* global display coordinates, points */
    bool main = false;
    std::optional<Mode> mode;
    bool hasInformation = true;     /* IOKit has a dictionary for it */
    bool hasProductNames = true;    /* that dictionary has names */
    std::vector<ProductName> names; /* by locale */
    size_t rowPadding = 12;         /* bytes between the end of a row and the next one */
    PixelSource pixel = colourfulPixel;
};

/* A display of width x height points at (x, y), scale pixels a point, named "Panel <id>". */
SCRIPTED_API Display makeDisplay(uint32_t id, double x, double y, size_t width, size_t height,
                                 size_t scale = 1);

/* One call of the library under test. */
struct Call {
    std::string text; /* name(arguments), and " -> result" for what makes or hands out objects */
    std::thread::id thread;
};

SCRIPTED_API void reset();

/* Displays; they are active in the order of plugging in. An unknown id is a mistake: it throws. */
SCRIPTED_API void plugIn(const Display& display);
SCRIPTED_API void unplug(uint32_t id);
SCRIPTED_API void change(uint32_t id, const std::function<void(Display&)>& edit);
SCRIPTED_API void moveTo(uint32_t id, double x, double y);
SCRIPTED_API void resize(uint32_t id, size_t width, size_t height); /* points; keeps the scale */
SCRIPTED_API void setScale(uint32_t id, size_t scale);              /* pixels a point */

/* The locales that the user prefers, best first; without any there is no preferred one. */
SCRIPTED_API void preferLocales(std::vector<std::string> locales);

/*
 * Text that does not fit into a buffer is refused as ever, but the buffer then holds as much of it
 * as there is room for, without an end.
 */
SCRIPTED_API void leaveCutText();

/* The numbers of the windows on screen, front to back. */
SCRIPTED_API void showWindows(std::vector<uint32_t> windows);

/* Every image, of a display or of windows, has this size in pixels from now on. */
SCRIPTED_API void presentImagesOf(size_t width, size_t height);

/* The calendar clock. */
SCRIPTED_API void setCalendarClock(unsigned int seconds, int nanoseconds);

/*
 * Makes the named function fail: the error code of its kind, null, 0, or no effect. skip calls go
 * well first; then times calls fail.
 */
constexpr size_t kAlways = static_cast<size_t>(-1);
SCRIPTED_API void fail(const std::string& function, size_t skip = 0, size_t times = kAlways);

/*
 * Does action once, when the named function is called after skip other calls of it and before it
 * answers: a display that goes between two calls, say. action may use all of this interface.
 */
SCRIPTED_API void whenCalled(const std::string& function, const std::function<void()>& action,
                             size_t skip = 0);

/*
 * Makes the next call of the named function hang until letGo(). A hanging thread is in a
 * cancellation point unless cancellable is false.
 */
SCRIPTED_API void hang(const std::string& function, bool cancellable = true);
SCRIPTED_API bool awaitHang(); /* false when no thread hangs within 10 s */
SCRIPTED_API void letGo();

/* Tells watcher when a platform function begins its own work and ends it, on its thread; null tells
 * nobody. For those who count what the library does. */
SCRIPTED_API void watchWork(void (*watcher)(bool begins));

/* All calls since reset() or forgetCalls(), or the text of those of the named functions only. */
SCRIPTED_API std::vector<Call> calls();
SCRIPTED_API std::vector<std::string> callsOf(const std::vector<std::string>& functions);
SCRIPTED_API size_t countCalls(const std::string& function);
SCRIPTED_API void forgetCalls();

/* One line a mistake, in the order in which they were made; leaks are found at the call. */
SCRIPTED_API std::vector<std::string> faults();
SCRIPTED_API std::vector<std::string> leaks();

}  // namespace scripted

#endif
