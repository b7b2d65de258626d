/* What 'capmgr trace-view' makes of traces. */
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>

#include "capmgr_fixture.h"
#include "live_scene.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

constexpr const char* kStart =
    "[KXSC] CAPTURE_MANAGER_API StartCapture... capture index: 4, monitor index: 1, capture type: "
    "0, share type: 0, CustomVersion: 0\n";
constexpr const char* kFrame = "[KXSS]CCaptureMac::DoCapture()... End!\n";

class TraceViewTest : public CapmgrTest {
  protected:
    /* A run with its trace in its output. */
    ChildSetup tracedRun(const std::string& display,
                         const std::vector<std::string>& options) const {
        ChildSetup setup = program("/bin/sh", display);
        setup.command.insert(setup.command.end(), {"-c", "exec \"$@\" 2>&1", "sh", CAPMGR_PROGRAM,
                                                   "--trace", "2", "run", "--seconds", "60"});
        setup.command.insert(setup.command.end(), options.begin(), options.end());
        return setup;
    }

    /* Keeps the trace of a run that is ended when it has come to pictures that are none. */
    void traceUntilNoImage(ChildProcess& child) const {
        ASSERT_TRUE(child.awaitOutput("imageRef is null!"));
        child.send(SIGINT);
        makeFile("trace", child.finish().output);
    }

    /* The trace of a real run. */
    void trace(const std::string& display, const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{"--trace", "2"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        makeFile("trace", runCapmgr(display, command).errors);
    }

    ChildResult view(const std::vector<std::string>& options = {"trace"}) const {
        std::vector<std::string> arguments{"trace-view"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return runCapmgr("", arguments);
    }

    nlohmann::json events(std::size_t capture = 0) const {
        const ChildResult result = view({"--json", "trace"});
        EXPECT_EQ(result.status, 0) << result.errors;
        return nlohmann::json::parse(result.output)["captures"].at(capture)["events"];
    }

    static std::vector<std::string> namesOf(const nlohmann::json& events) {
        std::vector<std::string> names;
        for (const auto& event : events) {
            names.push_back(event["event"]);
        }
        return names;
    }
};

TEST_F(TraceViewTest, RunIsToldFromItsBeginningToItsEnd) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    trace(server.display(), {"run", "--seconds", "1", "--size", "320x240", "--fps", "20"});
    const ChildResult result = view();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("capture 0\n"));
    EXPECT_THAT(result.output, ContainsRegex("0\\.000 s  index made\n"));
    EXPECT_THAT(result.output, ContainsRegex("s  frame size +320x240\n"));
    EXPECT_THAT(result.output, ContainsRegex("s  start +monitor 0 \\([^,]*, 640x480\\), the whole "
                                             "monitor\n"));
    EXPECT_THAT(result.output, ContainsRegex("s  first frame\n +[0-9.]+ s  frames +[0-9]+ in "
                                             "[0-9.]+ s, [0-9.]+ frames/s\n"));
    EXPECT_THAT(result.output, ContainsRegex("s  stop\n$"));
}

TEST_F(TraceViewTest, FramesAreCounted) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    trace(server.display(), {"run", "--seconds", "0.5"});
    std::size_t delivered = 0;
    std::ifstream stream(file("trace"));
    for (std::string line; std::getline(stream, line);) {
        delivered += line.find("CCaptureMac::DoCapture()... End!") != std::string::npos ? 1U : 0U;
    }
    for (const auto& event : events()) {
        if (event["event"] == "frames") {
            EXPECT_EQ(event["count"], delivered);
            delivered = 0;
        }
    }
    EXPECT_EQ(delivered, 0U);
}

TEST_F(TraceViewTest, WindowThatIsClosedIsAFault) {
    const XvfbServer server("640x480x24");
    auto client = std::make_unique<WindowClient>(server.display());
    const xcb_window_t window = client->open({.area = {0, 0, 50, 50}, .color = {9, 99, 199}});
    client->sync();
    ChildProcess child(tracedRun(server.display(), {"--window", std::to_string(window)}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    client.reset();
    traceUntilNoImage(child);
    EXPECT_THAT(namesOf(events()), IsSupersetOf({"window", "first frame", "no image", "stop"}));
    EXPECT_THAT(view().output,
                ContainsRegex("no image +what is delivered is black \\([0-9]+ times"));
}

TEST_F(TraceViewTest, ServerThatDoesNotAnswerIsAFault) {
    const XvfbServer server("640x480x24");
    const LiveScene scene(server.display());
    ChildProcess child(tracedRun(server.display(), {}));
    ASSERT_TRUE(child.awaitOutput("frames/s"));
    kill(server.pid(), SIGSTOP);
    traceUntilNoImage(child);
    kill(server.pid(), SIGCONT);
    EXPECT_THAT(namesOf(events()), IsSupersetOf({"frames", "no image", "stop"}));
}

TEST_F(TraceViewTest, TimesOfOtherLogsAreRead) {
    for (const auto& [first, second] :
         {std::pair("2026-11-22T23:59:59.500Z host: ", "2026-11-23T00:00:01.000Z host: "),
          std::pair("[23:59:59,500] ", "[00:00:01,000] "),
          std::pair("Nov 22 06:28:30 desk client[5]: ", "Nov 22 06:28:31 desk client[5]: "),
          std::pair("[  100.5] ", "[  102.0] ")}) {
        makeFile("trace", std::string(first) + kStart + second + kFrame);
        const nlohmann::json read = events();
        ASSERT_THAT(read, SizeIs(3)) << first;
        EXPECT_EQ(read[0]["seconds"], 0.0);
        EXPECT_GE(read[1]["seconds"], 1.0) << first;
        EXPECT_LE(read[1]["seconds"], 1.5) << first;
    }
}

TEST_F(TraceViewTest, LinesStandInForTimesThatAreMissing) {
    makeFile("trace", std::string("something else\n") + kStart + kFrame);
    EXPECT_THAT(view().output, AllOf(HasSubstr("capture 4\n        line 2  start"),
                                     HasSubstr("        line 3  first frame\n")));
    EXPECT_TRUE(events()[0]["seconds"].is_null());
}

TEST_F(TraceViewTest, FrameUnderWayAtAStopIsToldBeforeIt) {
    const std::string stop = "[KXSC] CAPTURE_MANAGER_API StopCapture... capture index: 4\n";
    makeFile("trace", kStart + std::string(kFrame) + stop + kFrame);
    const nlohmann::json read = events();
    EXPECT_THAT(namesOf(read), ElementsAre("start", "first frame", "frames", "stop"));
    EXPECT_EQ(read[2]["count"], 2);
}

TEST_F(TraceViewTest, FramesOfSeveralCapturesAtOnceAreNobodys) {
    std::string other = kStart;
    other.replace(other.find("index: 4"), 8, "index: 5");
    makeFile("trace", kStart + other + kFrame + kFrame);
    const ChildResult result = view({"--json", "trace"});
    EXPECT_THAT(result.errors, HasSubstr("note: several captures ran at once"));
    const auto document = nlohmann::json::parse(result.output);
    EXPECT_EQ(document["is_ambiguous"], true);
    EXPECT_THAT(namesOf(document["others"]), ElementsAre("frames"));
    EXPECT_EQ(document["others"][0]["count"], 2);
}

TEST_F(TraceViewTest, ErrorsOfNoCaptureAreTold) {
    makeFile("trace", "[KXSC] GetMonitorInformation()... Invalid dwIndex!\n");
    EXPECT_THAT(view().output, AllOf(HasSubstr("of no capture in particular\n"),
                                     HasSubstr("GetMonitorInformation()... Invalid dwIndex!")));
}

TEST_F(TraceViewTest, GarbageIsPassedOver) {
    std::string garbage(3000000, 'x');
    garbage += std::string("\n\0\xff\xfe[KXSC]\n[KXSC", 13) + "\n";
    garbage += "[KXSC] CAPTURE_MANAGER_API StopCapture...  capture index: 99999999999999999999\n";
    makeFile("trace",
             garbage + kStart + "\x1b[2J[KXSC] GetMonitor\x1b[2J Invalid\n" + "[KXSC] CAPTURE_M");
    const ChildResult result = view();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("capture 4\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST_F(TraceViewTest, NumbersTooLargeForATraceAreNotReckonedWith) {
    makeFile("trace",
             "[KXSC][CPMO][STEP][information of the monitor][Index:1, L:-9223372036854775807, "
             "R:9223372036854775807, T:0, B:5, Primary:1, Name:screen]\n" +
                 std::string(kStart));
    EXPECT_THAT(view().output, HasSubstr("monitor 1 (screen, 0x5)"));
}

TEST_F(TraceViewTest, StandardInputIsReadLikeAFile) {
    makeFile("trace", kStart);
    ChildSetup setup = program("/bin/sh", "");
    setup.command.insert(
        setup.command.end(),
        {"-c", "\"$1\" trace-view <trace && \"$1\" trace-view - <trace", "sh", CAPMGR_PROGRAM});
    const std::string once = view().output;
    EXPECT_EQ(runToEnd(setup).output, once + once);
}

TEST_F(TraceViewTest, WhatIsNoTraceIsRefused) {
    makeFile("trace", "one\ntwo\n");
    expectRefusal(view(), 1, "none of 2 lines is of the library's trace");
    makeFile("trace", "");
    expectRefusal(view(), 1, "none of 0 lines is of the library's trace");
}

}  // namespace
