// The exported functions that hand out frames, from end to end.
#include <gtest/gtest.h>

#include <array>

#include "call_sequence.h"

namespace {

constexpr std::array<unsigned char, 4> kPixel = {1, 2, 3, 4};

std::string unlocked(unsigned int index) {
    return std::to_string(CapMgr_UnlockScreenBuffer(index));
}

std::string lockedOnce() {
    const CAP_DESKTOP_DATA data = CapMgr_LockScreenBuffer(0);
    CapMgr_UnlockScreenBuffer(0);
    return text(data);
}

Message updateEntry(const std::string& values) {
    return eachFrame("CAPTURE_MANAGER_API UpdateScreenBuffer... capture index: " + values);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, CallSequences,
    testing::Values(
        CallSequence{"capture",
                     CallSequences::startCapture,
                     [] { return text(CapMgr_CaptureScreenBuffer(0)); },
                     "no frame",
                     {},
                     {}},
        CallSequence{"captureNothing",
                     CallSequences::generateIndex,
                     [] { return text(CapMgr_CaptureScreenBuffer(0)); },
                     "no frame",
                     {framePath(0, " pCapture == NULL")},
                     {}},
        CallSequence{
            "lock", CallSequences::startCapture, lockedOnce, "161 x 91, 58604 bytes", {}, {}},
        CallSequence{"lockNothing",
                     CallSequences::generateIndex,
                     [] { return text(CapMgr_LockScreenBuffer(0)); },
                     "no frame",
                     {},
                     {}},
        CallSequence{
            "unlock", CallSequences::startCapture, [] { return unlocked(0); }, "3", {}, {}},
        CallSequence{
            "unlockNothing", CallSequences::generateIndex, [] { return unlocked(0); }, "0", {}, {}},
        CallSequence{"update",
                     CallSequences::startCapture,
                     quietly([] { CapMgr_UpdateScreenBuffer(0, kPixel.data(), 4); }),
                     "",
                     {updateEntry("0, bmp length:4"),
                      information("CCaptureBase::Capture... UpdateBuffer capture success  ID:0")},
                     {}},
        CallSequence{"updateTooLong",
                     CallSequences::startCapture,
                     quietly([] { CapMgr_UpdateScreenBuffer(0, kPixel.data(), 4294967295U); }),
                     "",
                     {updateEntry("0, bmp length:4294967295"),
                      information("CCaptureBase::Capture... UpdateBuffer capture success  ID:0"),
                      bufferMessage(0, " m_lpBuffer = NULL ||(unsigned)nLen <= m_nbufSize ")},
                     {}},
        CallSequence{"updateNothing",
                     CallSequences::generateIndex,
                     quietly([] { CapMgr_UpdateScreenBuffer(0, kPixel.data(), 4); }),
                     "",
                     {updateEntry("0, bmp length:4"),
                      error("CAPTURE_MANAGER_API UpdateScreenBuffer... pCapture == NULL")},
                     {}}),
    nameOf);

}  // namespace
