// Calls of the interface from end to end: each with its result, every message of the host's thread
// and every platform call of it, in order.
//
// A file that describes some instantiates CallSequences with them; call_sequence_test.cpp holds
// what is asked of each: the whole of it, at every trace level, and with source positions.
#ifndef CONTRACT_CALL_SEQUENCE_H
#define CONTRACT_CALL_SEQUENCE_H

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "contract_test.h"

using Messages = std::vector<Message>;
using PlatformCalls = std::vector<std::string>;

struct CallSequence {
    std::string name;
    std::function<void()> prepare;     // on a library without a manager
    std::function<std::string()> act;  // the call; its result as text, "" where it has none
    std::string result;
    Messages messages;    // at the most detailed level
    PlatformCalls calls;  // objects without their numbers; literals left out
};

void PrintTo(const CallSequence& sequence, std::ostream* out);

class CallSequences : public ContractTest, public testing::WithParamInterface<CallSequence> {
  public:
    // For the descriptions.
    using ContractTest::kMain;
    using ContractTest::kSecond;
    using ContractTest::plugInSecond;
    using ContractTest::startedCapture;

    static void nothing() {}
    static void makeManager();    // one display, no index
    static void generateIndex();  // 0
    static void startCapture();   // of index 0, and one frame delivered

  protected:
    struct Outcome {
        std::string result;
        Messages messages;
        PlatformCalls calls;
    };

    // Of the sequence, with the library and all recorders as they are.
    static Outcome run();
};

// The parameter's name, for INSTANTIATE_TEST_SUITE_P.
inline std::string nameOf(const testing::TestParamInfo<CallSequence>& instance) {
    return instance.param.name;
}

// What an enumeration that finds the main display alone tells and asks.
Messages enumerationMessages();
PlatformCalls enumerationCalls();

// What a look at a monitor's size, a rectangle, and the number of monitors tell and ask.
Message mainRectMessage();
Message monitorCountMessage(size_t count);
PlatformCalls modeCalls(const std::string& getter, uint32_t display = 722);

Message unknownRecord();
Message unknownInstance();

template <typename List, typename... Lists>
List joined(List first, const Lists&... others) {
    (first.insert(first.end(), others.begin(), others.end()), ...);
    return first;
}

// A call without a result.
template <typename Function>
std::function<std::string()> quietly(Function function) {
    return [function] {
        function();
        return std::string();
    };
}

inline std::string text(bool value) {
    return value ? "true" : "false";
}
std::string text(const CAP_DESKTOP_DATA& data);  // "no frame", or "WIDTH x HEIGHT, LENGTH bytes"

#endif
