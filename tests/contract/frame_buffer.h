// The fixture of the tests of the frame buffers.
#ifndef CONTRACT_FRAME_BUFFER_H
#define CONTRACT_FRAME_BUFFER_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <numeric>

#include "contract_test.h"
#include "journal.h"
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

    // Whether another thread gets the buffer's lock, as soon as it comes to run.
    bool bufferIsFree() { return othersGetBufferWithin(std::chrono::seconds(10)); }

    // Whether it is held for as long as one can wait to see.
    bool bufferIsHeld() { return !othersGetBufferWithin(std::chrono::milliseconds(50)); }

    // What to call the locks of capture in a journal.
    static std::map<const void*, std::string> lockNames(const ScriptedCapture& capture) {
        return {{&capture.m_csBuffer, "buffer"},
                {&capture.m_csAppBuffer, "app buffer"},
                {&capture.m_csExcludeWnd, "windows"}};
    }

    LockUse bufferUse(const char* operation) const { return {&capture_.m_csBuffer, operation}; }
    LockUse appBufferUse(const char* operation) const {
        return {&capture_.m_csAppBuffer, operation};
    }

    ScriptedCapture capture_;
    ScriptedCapture windowCapture_{CAP_METHOD_COREGRAPHICS, CAP_TYPE_APP_WINDOW};
    std::vector<unsigned char> picture_ = std::vector<unsigned char>(ScriptedCapture::kBytes);

  private:
    // Where they do not, the lock is this thread's and is let go.
    bool othersGetBufferWithin(std::chrono::milliseconds bound) {
        auto other = std::async(std::launch::async, [this] {
            capture_.m_csBuffer.lock();
            capture_.m_csBuffer.unlock();
        });
        const bool got = other.wait_for(bound) == std::future_status::ready;
        if (!got) {
            capture_.m_csBuffer.unlock();
        }
        return got;
    }
};

#endif
