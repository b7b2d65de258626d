#include "modelled_host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "MonitorManager.h"
#include "turns.h"

namespace {

constexpr int kFirstRate = 3;
constexpr unsigned kHighestRate = 30;
constexpr unsigned kUnknownMonitor = ~0U;

bool hasObject(unsigned index) {
    return CMonitorManager::GetInstance()->GetCaptureInstance(index) != nullptr;
}

/* Each byte, so that the sanitizer sees one that is not the frame's. */
void readFrame(const CAP_DESKTOP_DATA& frame) {
    unsigned sum = 0;
    for (std::uint32_t i = 0; i < frame.dwDataLen; ++i)
        sum += frame.pData[i];
    volatile unsigned used = sum;
    static_cast<void>(used);
}

bool isEmpty(const CAP_DESKTOP_DATA& frame) {
    const CAP_DESKTOP_DATA none{};
    return std::memcmp(&frame, &none, sizeof none) == 0;
}

}  // namespace

void expect(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

ModelledHost::Capture* ModelledHost::find(unsigned index) {
    return index < captures_.size() ? &captures_[index] : nullptr;
}

void ModelledHost::generateIndex() {
    expect(CapMgr_GenerateCaptureIndex() == captures_.size(), "a fresh index is the next number");
    captures_.emplace_back();
}

void ModelledHost::applyStoredRate(Capture& capture) {
    const int stored = static_cast<int>(capture.storedRate);
    if (stored < 1 || !capture.current)
        return;
    capture.most = stored;
    capture.current = std::min(stored, *capture.current);
}

void ModelledHost::start(unsigned index, unsigned monitor, CAP_METHOD method, CAP_TYPE type,
                         unsigned version, CAP_MODE mode) {
    const bool isDone = CapMgr_StartCapture(index, monitor, method, type, version, mode) == 0;
    Capture* const capture = find(index);
    expect(capture != nullptr || !isDone, "an unknown index is not started");
    if (capture == nullptr)
        return;
    const bool isKept = capture->isStarted && method == CAP_METHOD_COREGRAPHICS &&
                        capture->monitor == monitor && capture->type == type &&
                        capture->version == version;
    const bool isUncertain = capture->isStarted && capture->monitor == kUnknownMonitor;
    capture->isStarted = hasObject(index);
    expect(capture->isStarted || !isDone, "what was started is there");
    if (!isKept) {
        // Replaced or not, its frames may be gone, and with them their locks.
        std::size_t others = 0;
        for (const Capture& each : captures_)
            others += &each == capture ? 0 : each.locks;
        capture->locks = std::min(capture->locks, turns::locksOfHost() - others);
    }
    if (!isDone) {
        capture->most = capture->current = std::nullopt;
        capture->size = std::nullopt;
        capture->monitor = kUnknownMonitor;
        return;
    }
    if (!isKept) {
        // After a start that failed, what there was before may be there yet, and be kept.
        if (!isUncertain)
            capture->most = capture->current = kFirstRate;
        capture->monitor = monitor;
        capture->type = type;
        capture->version = version;
    }
    applyStoredRate(*capture);
    capture->size = std::nullopt;
    capture->isPaused = false;
}

void ModelledHost::stop(unsigned index, int flush) {
    Capture* const capture = find(index);
    const bool isStopped = CapMgr_StopCapture(index, flush);
    expect(isStopped == (capture != nullptr && capture->isStarted), "what is started is stopped");
    expect(!hasObject(index), "what was stopped is gone");
    if (capture != nullptr && isStopped) {
        capture->isStarted = false;
        capture->locks = 0;
    }
}

void ModelledHost::pause(unsigned index) {
    Capture* const capture = find(index);
    const bool isChanged = CapMgr_PauseCapture(index);
    const bool couldBe = capture != nullptr && capture->isStarted;
    if (couldBe && capture->most)
        expect(isChanged == !capture->isPaused, "a capture that runs is paused");
    expect(couldBe || !isChanged, "nothing is paused that was not started");
    if (couldBe)
        capture->isPaused = true;
}

void ModelledHost::resume(unsigned index) {
    Capture* const capture = find(index);
    const bool isChanged = CapMgr_ResumeCapture(index);
    const bool couldBe = capture != nullptr && capture->isStarted;
    if (couldBe && capture->most)
        expect(isChanged == capture->isPaused, "a capture that is paused goes on");
    expect(couldBe || !isChanged, "nothing goes on that was not started");
    if (couldBe)
        capture->isPaused = false;
}

void ModelledHost::setFrameSize(unsigned index, CAP_SIZE size) {
    Capture* const capture = find(index);
    const bool isTaken = CapMgr_SetCaptureFrameSize(index, size);
    const bool isSize = size.dwWidth != 0 && size.dwHeight != 0;
    if (capture == nullptr || !isSize) {
        expect(!isTaken, "only sizes of known indexes are taken");
        return;
    }
    expect(isTaken || capture->isStarted, "a size is stored before a start");
    if (isTaken && capture->isStarted)
        capture->size = size;
}

void ModelledHost::setMaxFrameRate(unsigned index, unsigned rate) {
    Capture* const capture = find(index);
    const bool isTaken = CapMgr_SetMaxFrameRate(index, rate);
    expect(isTaken == (capture != nullptr && rate != 0), "any rate but 0 is taken");
    if (!isTaken)
        return;
    const unsigned most = std::min(rate, kHighestRate);
    if (!capture->isStarted) {
        capture->storedRate = most;
    } else if (capture->current) {
        capture->most = static_cast<int>(most);
        capture->current = std::min(*capture->most, *capture->current);
    }
}

void ModelledHost::updateFrameRate(unsigned index, unsigned rate) {
    Capture* const capture = find(index);
    const bool isTaken = CapMgr_UpdateFrameRate(index, rate);
    expect(isTaken == (capture != nullptr && rate != 0), "any rate but 0 is taken");
    if (!isTaken)
        return;
    if (!capture->isStarted)
        capture->storedRate = rate;
    else if (capture->most)
        capture->current = static_cast<int>(std::min(static_cast<unsigned>(*capture->most), rate));
}

void ModelledHost::lock(unsigned index) {
    Capture* const capture = find(index);
    const std::size_t before = turns::locksOfHost();
    const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index);
    const std::size_t after = turns::locksOfHost();
    if (frame.pData == nullptr) {
        expect(after <= before, "nothing is locked where there is no frame");
        if (capture != nullptr)
            capture->locks -= before - after;
        return;
    }
    expect(capture != nullptr && capture->isStarted, "only what was started has a frame");
    expect(after == before + 1, "a frame is locked");
    ++capture->locks;
    expect(frame.dwDataLen == std::uint64_t{frame.dwWidth} * frame.dwHeight * 4,
           "a frame is as long as its rows");
    if (capture->size)
        expect(frame.dwWidth == capture->size->dwWidth && frame.dwHeight == capture->size->dwHeight,
               "a frame has the size that was set");
    readFrame(frame);
}

void ModelledHost::unlock(unsigned index) {
    Capture* const capture = find(index);
    const unsigned result = CapMgr_UnlockScreenBuffer(index);
    const bool isStarted = capture != nullptr && capture->isStarted;
    expect(isStarted ? result == 0 || result == 3 : result == 0, "the result of an unlock");
    if (capture != nullptr && capture->locks > 0)
        --capture->locks;
}

void ModelledHost::look() const {
    std::size_t locks = 0;
    for (unsigned index = 0; index <= captures_.size(); ++index) {
        expect(!CapMgr_IsSerialCapMode(index), "no capture is serial");
        expect(CapMgr_GetCapFailResult(index) == 0, "no failure is told of");
        expect(isEmpty(CapMgr_CaptureScreenBuffer(index)),
               "nothing is captured on the host's thread");
        const int most = CapMgr_GetMaxFrameRate(index);
        const int current = CapMgr_GetCurFrameRate(index);
        if (index == captures_.size()) {
            expect(most == 0 && current == 0, "an unknown index has no rate");
            break;
        }
        const Capture& capture = captures_[index];
        const int stored = static_cast<int>(capture.storedRate);
        locks += capture.locks;
        expect(hasObject(index) == capture.isStarted, "what is started is there, and nothing else");
        expect(most == (capture.isStarted ? capture.most.value_or(most) : stored), "the maximum");
        expect(current == (capture.isStarted ? capture.current.value_or(current) : stored),
               "the rate");
    }
    expect(locks == turns::locksOfHost(), "the host holds the locks of its frames, and no other");
}

void ModelledHost::endAll() {
    for (unsigned index = 0; index < captures_.size(); ++index) {
        while (captures_[index].locks > 0)
            unlock(index);
        stop(index, 1);
    }
    CMonitorManager::DeleteInstance();
    captures_.clear();
}
