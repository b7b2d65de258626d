// The fixture of the tests of bounded memory calls that fail.
#ifndef CONTRACT_FAILED_CALL_H
#define CONTRACT_FAILED_CALL_H

#include <gtest/gtest.h>

#include <vector>

#include "bounded_memory_faults.h"
#include "contract_test.h"

inline constexpr const char* kClearRecord =
    "memset_s(&stRetDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA))";
inline constexpr const char* kClearLocked =
    "memset_s(&stDesktopData, sizeof(CAP_DESKTOP_DATA), 0, sizeof(CAP_DESKTOP_DATA))";
inline constexpr const char* kCopySource =
    "memcpy_s(&m_sOriFrameSize, sizeof(CAP_SIZE), &szInput, sizeof(CAP_SIZE))";
inline constexpr const char* kCopyTarget =
    "memcpy_s(&m_sFinalFrameSize, sizeof(CAP_SIZE), &szOutput, sizeof(CAP_SIZE))";
inline constexpr const char* kDeliverSource =
    "memcpy_s(&m_sCapFrameSize, sizeof(CAP_SIZE), &m_sOriFrameSize, sizeof(CAP_SIZE))";
inline constexpr const char* kDeliverTarget =
    "memcpy_s(&m_sCapFrameSize, sizeof(CAP_SIZE), &m_sFinalFrameSize, sizeof(CAP_SIZE))";

class FailedCall : public ContractTest {
  protected:
    static constexpr int kCode = 34;

    // Every report, its position taken off when it has the right form.
    static std::vector<Message> reports() {
        std::vector<Message> found;
        for (const Message& message : trace_recorder::messagesOfLevel(1)) {
            found.push_back(withoutPosition(message));
        }
        return found;
    }
};

#endif
