#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "vqutilc.h"

namespace {

using testing::ElementsAre;
using Message = std::tuple<int, std::string, int>;

void keep(void* context, int level, const char* text, int flag) {
    static_cast<std::vector<Message>*>(context)->emplace_back(level, text, flag);
}

class TraceFacility : public testing::Test {
  protected:
    void TearDown() override {
        vq_set_trace_writer(nullptr, nullptr);
        vq_set_trace_level(0);
        vq_set_trace_file_line(0);
    }
};

TEST_F(TraceFacility, wantsErrorsAlone) {
    EXPECT_EQ(vq_trace_level(), 0);
    EXPECT_EQ(vq_get_trace_file_line(), 0);
}

TEST_F(TraceFacility, keepsWhatTheHostSets) {
    vq_set_trace_level(3);
    vq_set_trace_file_line(1);
    EXPECT_EQ(vq_trace_level(), 3);
    EXPECT_NE(vq_get_trace_file_line(), 0);
}

TEST_F(TraceFacility, handsMessagesToTheWriter) {
    std::vector<Message> messages;
    vq_set_trace_writer(keep, &messages);
    vq_trace_write(2, "first", 0);
    vq_trace_write(1, "second", 1);
    EXPECT_THAT(messages, ElementsAre(Message{2, "first", 0}, Message{1, "second", 1}));
}

TEST_F(TraceFacility, writesOneLineAMessageToStandardErrorOtherwise) {
    testing::internal::CaptureStderr();
    vq_trace_write(0, "one", 0);
    vq_trace_write(0, "two", 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\ntwo\n");
}

TEST_F(TraceFacility, goesBackToStandardErrorWithoutAWriter) {
    std::vector<Message> messages;
    vq_set_trace_writer(keep, &messages);
    vq_set_trace_writer(nullptr, nullptr);
    testing::internal::CaptureStderr();
    vq_trace_write(0, "text", 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "text\n");
    EXPECT_TRUE(messages.empty());
}

TEST_F(TraceFacility, keepsTheCallsOfTheWriterApart) {
    std::vector<Message> messages;
    vq_set_trace_writer(keep, &messages);
    const auto write = [] {
        for (int i = 0; i < 1000; ++i) {
            vq_trace_write(2, "message", 0);
        }
    };
    std::thread first(write);
    std::thread second(write);
    first.join();
    second.join();
    EXPECT_EQ(messages.size(), 2000U);
}

TEST_F(TraceFacility, writesNothingForANullText) {
    std::vector<Message> messages;
    vq_set_trace_writer(keep, &messages);
    vq_trace_write(0, nullptr, 0);
    vq_trace_input_error_msg(0, nullptr);
    EXPECT_TRUE(messages.empty());
}

TEST_F(TraceFacility, dropsWhatAWriterThrowsAndGoesOn) {
    vq_set_trace_writer([](void*, int, const char*, int) { throw std::bad_alloc(); }, nullptr);
    EXPECT_NO_THROW(vq_trace_write(0, "lost", 0));
    std::vector<Message> messages;
    std::thread(vq_set_trace_writer, keep, &messages).join();
    vq_trace_write(0, "kept", 0);
    EXPECT_EQ(messages.size(), 1U);
}

}  // namespace
