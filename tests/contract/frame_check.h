// The fixture of the tests of which frames are held back.
#ifndef CONTRACT_FRAME_CHECK_H
#define CONTRACT_FRAME_CHECK_H

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "contract_test.h"
#include "scripted_capture.h"

class FrameCheck : public ContractTest {
  protected:
    static constexpr uint32_t kGrey = 0xFF303030;
    static constexpr uint32_t kRed = 0xFFC00000;

    // A frame of one colour; width x height pixels.
    void fill(uint32_t width, uint32_t height, uint32_t colour = kGrey) {
        width_ = width;
        height_ = height;
        pixels_.assign(size_t{width} * height, colour);
    }

    void set(uint32_t x, uint32_t y, uint32_t colour = kRed) {
        pixels_[size_t{y} * width_ + x] = colour;
    }

    // Makes the first count samples of the scan red: odd columns of even rows.
    void dirtySamples(uint32_t count) {
        for (uint32_t y = 0; y < height_ && count > 0; y += 2) {
            for (uint32_t x = 1; x + 1 < width_ && count > 0; x += 2, --count) {
                set(x, y);
            }
        }
    }

    bool delivered() {
        return capture_.CheckARGBData(reinterpret_cast<const unsigned char*>(pixels_.data()),
                                      width_, height_);
    }

    ScriptedCapture capture_;
    std::vector<uint32_t> pixels_;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
};

#endif
