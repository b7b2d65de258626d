// The fixture of the tests of the CoreGraphics backend.
#ifndef CONTRACT_MAC_CAPTURE_H
#define CONTRACT_MAC_CAPTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "CaptureMac.h"
#include "Monitor.h"
#include "contract_test.h"

class VisibleCapture : public CCaptureMac {
  public:
    using CCaptureMac::CCaptureMac;
    using CCaptureMac::m_csBuffer;
    using CCaptureMac::m_csExcludeWnd;
    using CCaptureMac::m_eCapMethod;
    using CCaptureMac::m_eCapType;
    using CCaptureMac::m_lpBuffer;
    using CCaptureMac::m_nbufSize;
    using CCaptureMac::m_rcCapture;

    // In declaration order.
    using CCaptureMac::m_bRowsAligned;
    using CCaptureMac::m_dwDisplayID;
    using CCaptureMac::m_nBytesPerRow;
    using CCaptureMac::m_nCaptureHeight;
    using CCaptureMac::m_nCaptureWidth;
    using CCaptureMac::m_pRowBuffer;
};

class MacCapture : public ContractTest {
  protected:
    // A capture of the main display as it is now, on the test's own thread.
    VisibleCapture& make(int type = CAP_TYPE_DESKTOP) {
        const CMonitor monitor(kMain, 0);
        capture_.emplace(&monitor, CAP_METHOD_COREGRAPHICS, static_cast<CAP_TYPE>(type));
        forgetEverything();
        return *capture_;
    }

    VisibleCapture& initialised(int type = CAP_TYPE_DESKTOP) {
        EXPECT_TRUE(make(type).Init());
        std::fill_n(capture_->m_lpBuffer, capture_->m_nbufSize.load(), kOldByte);
        forgetEverything();
        return *capture_;
    }

    std::vector<unsigned char> buffer() const {
        return {capture_->m_lpBuffer, capture_->m_lpBuffer + capture_->m_nbufSize};
    }

    // Whether every byte of the frame buffer is this one.
    bool bufferIsAll(unsigned char byte) const {
        unsigned char* const end = capture_->m_lpBuffer + capture_->m_nbufSize;
        return capture_->m_nbufSize != 0 &&
               std::all_of(capture_->m_lpBuffer, end,
                           [byte](unsigned char b) { return b == byte; });
    }

    static std::vector<std::string> platformCalls() {
        std::vector<std::string> texts;
        for (const scripted::Call& call : scripted::calls()) {
            texts.push_back(call.text);
        }
        return texts;
    }

    // What the main display shows, packed.
    static std::vector<unsigned char> picture(size_t width = kMainWidth,
                                              size_t height = kMainHeight) {
        std::vector<unsigned char> bytes;
        for (size_t y = 0; y < height; ++y) {
            for (size_t x = 0; x < width; ++x) {
                const uint32_t pixel = scripted::colourfulPixel(x, y);
                for (unsigned int shift = 0; shift < 32; shift += 8) {
                    bytes.push_back(static_cast<unsigned char>(pixel >> shift));
                }
            }
        }
        return bytes;
    }

    static constexpr unsigned char kOldByte = 0x77;

    // With an image and its data taken, up to the frame check.
    static std::vector<Message> frameMessages(bool noExclusions = true) {
        return {detail("CCaptureMac::DoCapture()... Begin!"),
                eachFrame(std::string("CCaptureMac::DoCapture DisplayID: 722 excludeWndEmpty: ") +
                          (noExclusions ? "true" : "false")),
                eachFrame("CCaptureMac::DoCapture imageRef: <pointer>")};
    }

    // A capture is uninitialised before it is deleted: its destructor does not do so.
    void TearDown() override {
        if (capture_) {
            capture_->UnInit();
        }
        capture_.reset();
        ContractTest::TearDown();
    }

    std::optional<VisibleCapture> capture_;
};

#endif
