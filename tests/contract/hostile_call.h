// Calls with arguments that no sensible host gives: what each is answered with, and that the
// library works as before afterwards.
//
// Left to the host, as the library cannot know better:
//
// - the monitor of CCaptureBase's and CCaptureMac's constructors, and the capture of CaptureThread
//   unless it is null, are objects that live;
// - data and buffers are as long as the sizes beside them say: CheckARGBData, CopyData, Resize,
//   RunScalingAlg, UpdateBuffer, CapMgr_UpdateScreenBuffer, GetScreenThumbnail, SaveBmp;
// - a capture is stopped before it is deleted: DeleteInstance, ClearAllCaptureMgr,
//   DeleteCaptureInstance, and the object's own destructor;
// - monitors, records and capture objects are not used after they were deleted;
// - Capture, DoCapture, Init and UnInit are not called beside a thread of the same object.
#ifndef CONTRACT_HOSTILE_CALL_H
#define CONTRACT_HOSTILE_CALL_H

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "CaptureBase.h"
#include "MonitorManager.h"
#include "call_sequence.h"

struct Answer {
    std::string result = "";  // as text, "" where there is none
    Messages errors = {};     // of level 0, of the calling thread

    bool operator==(const Answer&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << testing::PrintToString(answer.result) << " "
               << testing::PrintToString(answer.errors);
}

// The function is given what Subject says, besides the hostile arguments that it holds.
template <typename... Subject>
struct HostileCall {
    std::function<std::string(Subject...)> call;
    Answer idle;                    // while nothing is started
    std::optional<Answer> running;  // during a capture; none where the host has to stop it first
};

template <typename... Subject>
struct HostileFunction {
    std::string name;  // as it is exported, "::" written "_"
    std::vector<HostileCall<Subject...>> calls;
};

template <typename... Subject>
void PrintTo(const HostileFunction<Subject...>& function, std::ostream* out) {
    *out << function.name;
}

// For INSTANTIATE_TEST_SUITE_P.
constexpr auto nameOfFunction = [](const auto& instance) { return instance.param.name; };

// One call for each of the values, all with the same answers.
template <typename Call, typename Value, typename Function>
std::vector<Call> each(std::initializer_list<Value> values, Function function, const Answer& idle,
                       const std::optional<Answer>& running) {
    std::vector<Call> calls;
    for (const Value& value : values) {
        const auto call = [function, value](auto&... subject) {
            return function(subject..., value);
        };
        calls.push_back(Call{call, idle, running});
    }
    return calls;
}

template <typename Call, typename Value, typename Function>
std::vector<Call> each(std::initializer_list<Value> values, Function function,
                       const Answer& always) {
    return each<Call, Value>(values, function, always, always);
}

// For a function without a result.
template <typename Function>
auto noResult(Function function) {
    return [function](auto&&... arguments) {
        function(arguments...);
        return std::string();
    };
}

// Answers without an error.
inline const Answer kNothing{};
inline const Answer kTrue{"true"};
inline const Answer kFalse{"false"};
inline const Answer kZero{"0"};

inline Answer refusal(const std::string& result, const std::string& text) {
    return {result, {error(text)}};
}

inline CMonitorManager& manager() {
    return *CMonitorManager::GetInstance();
}

class HostileTest : public ContractTest {
  public:
    // For the tables.
    using ContractTest::kMainHeight;
    using ContractTest::kMainWidth;
    using ContractTest::kSecond;

  protected:
    template <typename Function, typename... Subject>
    static Answer answerOf(const Function& function, Subject&... subject) {
        trace_recorder::forget();
        Answer answer{function(subject...), {}};
        for (const Message& message : trace_recorder::messagesOfThisThread()) {
            if (message.level == 0) {
                answer.errors.push_back(message);
            }
        }
        return answer;
    }

    // Whether a plain capture under the index starts, delivers, and stops.
    static bool works(unsigned int index) {
        CapMgr_StopCapture(index, 1);
        CapMgr_UpdateMonitor();
        driven_time::reset();
        if (CapMgr_StartCapture(index, 0, CAP_METHOD_COREGRAPHICS, CAP_TYPE_DESKTOP, 0,
                                PARALLEL_CAPTURE_MODE) != 0 ||
            !driven_time::awaitSleep()) {
            return false;
        }
        const bool hasFrame = CapMgr_LockScreenBuffer(index).pData != nullptr;
        const bool isCapturing = CapMgr_UnlockScreenBuffer(index) == 3;
        return CapMgr_StopCapture(index, 0) && hasFrame && isCapturing;
    }

    // Whether the capture under index 0, if there is one, takes another frame.
    static bool goesOn() {
        if (manager().GetCaptureInstance(0) == nullptr) {
            return true;
        }
        driven_time::reset();  // a capture that was replaced has let the new one run freely
        if (!driven_time::awaitSleep()) {
            return false;
        }
        driven_time::wake();
        return driven_time::awaitSleep().has_value();
    }
};

// Of exported functions and the manager. Capture index 0 and monitor 0 are the only ones there are.
class HostileArguments : public HostileTest,
                         public testing::WithParamInterface<HostileFunction<>> {};

#endif
