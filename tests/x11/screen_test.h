/* What the tests of the platform share: a server to ask, and images to look into. */
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "painter.h"
#include "xvfb_server.h"

struct Release {
    void operator()(const void* object) const { CFRelease(object); }
};
using Image = std::unique_ptr<CGImage, Release>;
using Mode = std::unique_ptr<CGDisplayMode, Release>;
template <typename T>
using Owned = std::unique_ptr<T, Release>;
using Data = Owned<const __CFData>;

/* One pixel in memory order. */
struct Pixel {
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t fourth = 0;

    Color color() const { return {red, green, blue}; }
    friend bool operator==(const Pixel&, const Pixel&) = default;
};

void PrintTo(const Color& color, std::ostream* out);
void PrintTo(const Pixel& pixel, std::ostream* out);

/* The image's bytes. */
Data dataOf(CGImageRef image);
std::vector<std::uint8_t> bytesOf(CGImageRef image);
Pixel pixelAt(CGImageRef image, std::size_t x, std::size_t y);

/* Everything on screen in a rectangle. */
Image imageOf(double x, double y, double width, double height);

/* The only active display, or 0 if there is not exactly one. */
CGDirectDisplayID onlyDisplay();

std::string text(CFStringRef string);

/* Waits, polling, until a condition holds. False if it does not within the bound. */
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds bound = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        timespec pause{0, 5'000'000};
        nanosleep(&pause, nullptr);
    }
    return true;
}

/* DISPLAY, and the thread's connection, are the process's; each test sets it for its own server. */
void useDisplay(const std::string& display);

/* A display number of this process's own, for a server whose number must not be taken over when it
 * is gone: it is beyond those that servers pick for themselves. */
std::string ownDisplay();

/* Waits until a child of this process can be a host of its own. A thread checker lets the child of
 * a process with several threads start none, so the one that made a connection has to be gone. */
bool mayForkHosts();

/* The platform's trace of what a function does. */
template <typename Function>
std::string traceOf(Function function) {
    setenv("QOR_COREGRAPHICS_TRACE", "1", 1);
    testing::internal::CaptureStderr();
    function();
    unsetenv("QOR_COREGRAPHICS_TRACE");
    return testing::internal::GetCapturedStderr();
}
