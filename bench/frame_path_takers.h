// A server with a scene on it, and who takes frames of it: nobody, a host of ours, other programs.
#ifndef QOR_BENCH_FRAME_PATH_TAKERS_H
#define QOR_BENCH_FRAME_PATH_TAKERS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame_path_board.h"
#include "frame_path_run.h"
#include "frame_path_worker.h"
#include "xvfb_server.h"

namespace qor::bench {

// A server of its own with a scene that rests at first.
class Stage {
  public:
    // Whether changes are numbered: see ScenePlan.
    Stage(const RunPlan& plan, bool isNumbered);

    void play() { board_->goal = UINT32_MAX; }

    // Returns when it does, after so many changes at least.
    void restAfter(uint32_t changes);

    std::string display() const { return server_.display(); }
    double cpuSeconds() const { return cpu_.seconds(); }  // of the server
    uint32_t changes() const { return board_->changes; }
    std::string boardDescriptor() const { return board_.descriptor(); }

  private:
    XvfbServer server_;
    CpuClock cpu_;
    SharedBoard<SceneBoard> board_;
    std::unique_ptr<Worker> scene_;
};

// Who takes frames, from the first to the last.
class FrameTaker {
  public:
    virtual ~FrameTaker() = default;

    // Has the scene play. Returns when frames come.
    virtual void begin() = 0;
    // Seconds of CPU so far; from begin() on.
    virtual double cpuSeconds() const = 0;
    // Throws where not all went well.
    virtual void finish() = 0;
};

// A host that uses the library. Its frames are compared with what the scene drew, at rest, before
// and after.
class Ours : public FrameTaker {
  public:
    Ours(const RunPlan& plan, Stage& stage, const SharedBoard<Deliveries>& deliveries);

    void begin() override;
    double cpuSeconds() const override { return cpu_->seconds(); }
    void finish() override;

    // Instead of the three above: what the host found out over so long, with numbered changes.
    const HostBoard& measureLatency(int64_t warmUpNs, int64_t durationNs);

  private:
    void awaitFrames();
    void post(HostCommand what);
    void carryOut(HostCommand what);
    void end();

    Stage& stage_;
    SharedBoard<HostBoard> board_;
    std::unique_ptr<Worker> host_;
    std::unique_ptr<CpuClock> cpu_;
};

// Peers take frames for so many seconds from the first one on.
std::unique_ptr<FrameTaker> makeTaker(const RunPlan& plan, Stage& stage, double seconds,
                                      const SharedBoard<Deliveries>& deliveries);

}  // namespace qor::bench

#endif
