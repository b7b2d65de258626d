#include "frame_path_takers.h"

#include <fmt/format.h>

#include <filesystem>
#include <map>

namespace qor::bench {

namespace {

constexpr uint32_t kChangesBefore = 10;  // that the first frame to be compared has seen

std::filesystem::path ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

std::string tapLibrary() {
    return (ownProgram().parent_path().parent_path() / "lib" / "libqor_bench_frame_tap.so")
        .string();
}

std::map<std::string, std::string> tapped(const Stage& stage,
                                          const SharedBoard<Deliveries>& deliveries) {
    return {{"DISPLAY", stage.display()},
            {"LD_PRELOAD", tapLibrary()},
            {"QOR_BENCH_DELIVERIES", deliveries.descriptor()}};
}

// A program that takes frames for so many seconds and throws them away.
class Peer : public FrameTaker {
  public:
    Peer(std::string name, std::vector<std::string> command, std::vector<std::string> signs,
         Stage& stage, const SharedBoard<Deliveries>& deliveries)
        : stage_(stage),
          deliveries_(deliveries),
          signs_(std::move(signs)),
          program_(std::move(name), std::move(command), tapped(stage, deliveries)) {}

    void begin() override {
        stage_.play();
        program_.waitFor([&] { return deliveries_->taken > 0; });
        cpu_ = std::make_unique<CpuClock>(program_.pid());
    }

    double cpuSeconds() const override { return cpu_->seconds(); }

    void finish() override {
        program_.waitForEnd();
        for (const std::string& sign : signs_) {
            if (program_.output().find(sign) == std::string::npos) {
                program_.fail(fmt::format("did not say {}", sign));
            }
        }
    }

  private:
    Stage& stage_;
    const SharedBoard<Deliveries>& deliveries_;
    std::vector<std::string> signs_;  // that it did what it was asked for
    Worker program_;
    std::unique_ptr<CpuClock> cpu_;
};

class Nobody : public FrameTaker {
  public:
    explicit Nobody(Stage& stage) : stage_(stage) {}
    void begin() override { stage_.play(); }
    double cpuSeconds() const override { return 0; }
    void finish() override {}

  private:
    Stage& stage_;
};

bool isScaled(const RunPlan& plan) {
    return plan.delivered.width != plan.screen.width || plan.delivered.height != plan.screen.height;
}

std::unique_ptr<FrameTaker> makeFfmpeg(const RunPlan& plan, Stage& stage, double seconds,
                                       const SharedBoard<Deliveries>& deliveries) {
    std::vector<std::string> command{"ffmpeg",      "-hide_banner",
                                     "-nostdin",    "-nostats",
                                     "-f",          "x11grab",
                                     "-draw_mouse", "0",
                                     "-framerate",  "30",
                                     "-video_size", nameOf(plan.screen),
                                     "-i",          stage.display(),
                                     "-t",          fmt::format("{}", seconds)};
    if (isScaled(plan)) {
        command.insert(command.end(), {"-vf",
                                       fmt::format("scale={}:{}:flags=bilinear",
                                                   plan.delivered.width, plan.delivered.height),
                                       "-c:v", "wrapped_avframe"});
    } else {
        command.insert(command.end(), {"-c", "copy"});
    }
    command.insert(command.end(), {"-f", "null", "-"});
    const std::string codec = isScaled(plan) ? "wrapped_avframe, bgr0" : "rawvideo";
    return std::make_unique<Peer>(
        "ffmpeg", std::move(command),
        std::vector<std::string>{"Video: " + codec, ", " + nameOf(plan.delivered), "30 fps"}, stage,
        deliveries);
}

std::unique_ptr<FrameTaker> makeGstreamer(const RunPlan& plan, Stage& stage, double seconds,
                                          const SharedBoard<Deliveries>& deliveries) {
    std::vector<std::string> command{
        "gst-launch-1.0",
        "--no-fault",  // ends when it crashes
        "-v",
        "ximagesrc",
        "show-pointer=false",
        "use-damage=false",
        fmt::format("num-buffers={}", static_cast<int>(seconds * kFramesPerSecond)),
        "!",
        "video/x-raw,framerate=30/1"};
    if (isScaled(plan)) {
        command.insert(command.end(), {"!", "videoscale", "method=bilinear", "!",
                                       fmt::format("video/x-raw,width={},height={}",
                                                   plan.delivered.width, plan.delivered.height)});
    }
    command.insert(command.end(), {"!", "fakesink", "sync=false"});
    const std::string caps = fmt::format(
        "fakesink0.GstPad:sink: caps = video/x-raw, format=(string)BGRx, "
        "width=(int){}, height=(int){}, framerate=(fraction)30/1",
        plan.delivered.width, plan.delivered.height);
    return std::make_unique<Peer>("gst-launch-1.0", std::move(command),
                                  std::vector<std::string>{caps}, stage, deliveries);
}

}  // namespace

Stage::Stage(const RunPlan& plan, bool isNumbered)
    : server_(nameOf(plan.screen) + "x24"), cpu_(server_.pid()) {
    board_->plan = {plan.scene, plan.screen, isNumbered};
    scene_ = std::make_unique<Worker>(
        "the scene", std::vector<std::string>{ownProgram().string(), "scene", board_.descriptor()},
        std::map<std::string, std::string>{{"DISPLAY", server_.display()}});
    scene_->waitFor([&] { return board_->isReady.load(); });
}

void Stage::restAfter(uint32_t changes) {
    board_->goal = changes;
    scene_->waitFor([&] { return board_->isResting && board_->changes >= changes; });
}

Ours::Ours(const RunPlan& plan, Stage& stage, const SharedBoard<Deliveries>& deliveries)
    : stage_(stage) {
    board_->plan = {plan.delivered, plan.shown, plan.captures};
    sem_init(&board_->commanded, 1, 0);
    host_ = std::make_unique<Worker>(
        "the host",
        std::vector<std::string>{ownProgram().string(), "host", stage.boardDescriptor(),
                                 board_.descriptor()},
        tapped(stage, deliveries));
}

void Ours::begin() {
    awaitFrames();
    stage_.restAfter(kChangesBefore);
    carryOut(HostCommand::compare);
    stage_.play();
    cpu_ = std::make_unique<CpuClock>(host_->pid());
}

void Ours::finish() {
    stage_.restAfter(0);
    carryOut(HostCommand::compare);
    end();
}

const HostBoard& Ours::measureLatency(int64_t warmUpNs, int64_t durationNs) {
    awaitFrames();
    stage_.play();
    waitUntil(nowNs() + warmUpNs);
    board_->latencyNs = durationNs;
    carryOut(HostCommand::measureLatency);
    end();
    return *board_.operator->();
}

void Ours::awaitFrames() {
    host_->waitFor([&] { return board_->isReady.load(); });
}

void Ours::post(HostCommand what) {
    board_->command = what;
    sem_post(&board_->commanded);
}

void Ours::carryOut(HostCommand what) {
    const uint32_t before = board_->done;
    post(what);
    host_->waitFor([&] { return board_->done != before; });
}

void Ours::end() {
    post(HostCommand::end);
    host_->waitForEnd();
}

std::unique_ptr<FrameTaker> makeTaker(const RunPlan& plan, Stage& stage, double seconds,
                                      const SharedBoard<Deliveries>& deliveries) {
    switch (plan.taker) {
        case Taker::nobody:
            break;
        case Taker::ours:
            return std::make_unique<Ours>(plan, stage, deliveries);
        case Taker::ffmpeg:
            return makeFfmpeg(plan, stage, seconds, deliveries);
        case Taker::gstreamer:
            return makeGstreamer(plan, stage, seconds, deliveries);
    }
    return std::make_unique<Nobody>(stage);
}

}  // namespace qor::bench
