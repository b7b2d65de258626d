// What is asked of every call sequence.
#include "call_sequence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using testing::IsEmpty;

// The source files, told by what their messages say; the exported functions' own say none of it.
std::string sourceOf(const std::string& message) {
    constexpr std::pair<const char*, const char*> kSources[] = {
        {"] CCaptureBase::", "CaptureBase"},        {"] CMagCapture::", "CaptureBase"},
        {"] CCaptureMac::", "CaptureMac"},          {"] CMonitorManager::", "MonitorManager"},
        {"[KXSC][CPMO][STEP]", "MonitorManager"},   {"] CMonitor::", "Monitor"},
        {"]  CMonitor::GetMonitorRect", "Monitor"}, {"]CCaptureBase::", "CaptureBase"},
        {"]  m_lpBuffer = NULL", "CaptureBase"},
    };
    for (const auto& [part, source] : kSources) {
        if (message.find(part) != std::string::npos) {
            return source;
        }
    }
    return "CaptureManager";
}

// Takes "[src/component/captureManager/SOURCE: LINE] " off a message of that source.
Message withoutSource(const Message& message, const std::string& source) {
    const std::string begin = "[src/component/captureManager/" + source + ": ";
    const size_t end = message.text.find_first_not_of("0123456789", begin.size());
    const bool positioned = message.text.rfind(begin, 0) == 0 && end != std::string::npos &&
                            end > begin.size() && message.text.compare(end, 2, "] ") == 0;
    return positioned ? Message{message.level, message.text.substr(end + 2), message.flag}
                      : message;
}

Messages upTo(int level, const Messages& messages) {
    Messages wanted;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(wanted),
                 [level](const Message& message) { return message.level <= level; });
    return wanted;
}

TEST_P(CallSequences, isTheWholeSequence) {
    const Outcome outcome = run();
    EXPECT_EQ(outcome.result, GetParam().result);
    EXPECT_EQ(outcome.messages, GetParam().messages);
    EXPECT_EQ(outcome.calls, GetParam().calls);
}

TEST_P(CallSequences, tellsAtEachLevelWhatItAsksForAndDoesTheSame) {
    for (const int level :
         {std::numeric_limits<int>::min(), -1, 0, 1, 2, std::numeric_limits<int>::max()}) {
        SCOPED_TRACE("level " + std::to_string(level));
        renew();
        trace_recorder::setLevel(level);
        const Outcome outcome = run();
        EXPECT_EQ(outcome.messages, upTo(level, GetParam().messages));
        EXPECT_EQ(outcome.result, GetParam().result);
        EXPECT_EQ(outcome.calls, GetParam().calls);
        if (level < 0) {
            EXPECT_THAT(trace_recorder::streams(), IsEmpty());
        }
    }
}

TEST_P(CallSequences, beginsEveryMessageWithItsSourceWhenThatIsWanted) {
    trace_recorder::setFileLine(true);
    const Outcome outcome = run();
    ASSERT_EQ(outcome.messages.size(), GetParam().messages.size());
    Messages plain;
    for (size_t i = 0; i < outcome.messages.size(); ++i) {
        const std::string source = sourceOf(GetParam().messages[i].text);
        plain.push_back(withoutSource(outcome.messages[i], source));
    }
    EXPECT_EQ(plain, GetParam().messages);
}

}  // namespace
