// The fixture of the tests of the frame buffers.
#ifndef CONTRACT_FRAME_BUFFER_H
#define CONTRACT_FRAME_BUFFER_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <numeric>

#include "contract_test.h"
#include "lock_recorder.h"
#include "scripted_capture.h"

class FrameBuffer : public ContractTest {
  protected:
    void SetUp() override {
        ContractTest::SetUp();
        std::iota(picture_.begin(), picture_.end(), static_cast<unsigned char>(1));
    }

    // With a buffer that holds picture_, and one frame counted.
    void fill() {
        capture_.AllocBuffer(ScriptedCapture::kBytes);
        capture_.UpdateBuffer(picture_.data(), ScriptedCapture::kBytes);
        capture_.OnCaptureSuccess();
        forgetEverything();
    }

    static bool allZero(const CAP_DESKTOP_DATA& data) {
        const CAP_DESKTOP_DATA zero{};
        return std::memcmp(&data, &zero, sizeof data) == 0;
    }

    std::vector<unsigned char> bufferContent() const {
        return {capture_.m_lpBuffer, capture_.m_lpBuffer + capture_.m_nbufSize};
    }

    // Whether another thread gets the buffer's lock.
    bool bufferIsFree() {
        auto other = std::async(std::launch::async, [this] {
            capture_.m_csBuffer.lock();
            capture_.m_csBuffer.unlock();
        });
        const bool isFree =
            other.wait_for(std::chrono::milliseconds(50)) == std::future_status::ready;
        if (!isFree) {
            capture_.m_csBuffer.unlock();
        }
        return isFree;
    }

    LockUse bufferUse(const char* operation) const { return {&capture_.m_csBuffer, operation}; }
    LockUse appBufferUse(const char* operation) const {
        return {&capture_.m_csAppBuffer, operation};
    }

    ScriptedCapture capture_;
    std::vector<unsigned char> picture_ = std::vector<unsigned char>(ScriptedCapture::kBytes);
};

#endif
