/* What there is to capture, on a real display server or on the scripted platform. */
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

/* Four bytes a pixel, rows without gaps. */
struct Frame {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> bytes;
};

class Stage {
  public:
    static constexpr std::uint32_t kWidth = 320;
    static constexpr std::uint32_t kHeight = 240;

    virtual ~Stage() = default;

    /* In the process that captures, before anything else. */
    virtual void enter() {}

    /* Numbers of windows. */
    virtual std::uint32_t plainWindow() const = 0;
    virtual std::uint32_t secretWindow() const = 0;

    /* Pictures that are taken from now on can be told from earlier ones. To be painted, and again
     * where the platform has wiped what it could not be sure of. */
    virtual void renew() {}
    virtual void paint() {}
    virtual bool isOfNow(const Frame&) const { return true; }

    /* Whether a frame has the pixels of a window's. */
    virtual bool showsPlain(const Frame& frame) const = 0;
    virtual bool showsSecret(const Frame& frame) const = 0;

    /* Has the next image hang until it is let go; false where that cannot be. */
    virtual bool hang() { return false; }
    virtual bool awaitHang() { return false; }
    virtual void letGo() {}

    /* Throws when the library has misused the platform. */
    virtual void check() {}
};

/* Which one, is a matter of what the program is linked with. */
std::unique_ptr<Stage> makeStage();
