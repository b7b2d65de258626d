#include "soak.h"

#include <CaptureManager.h>
#include <signal.h>
#include <stdlib.h>

#include <algorithm>
#include <iterator>
#include <thread>

#include "require.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr unsigned kLongestPauseMs = 12;  // between two steps: frames are to come as well

/* A server that answers nobody while it lives. */
class FrozenServer {
  public:
    explicit FrozenServer(pid_t server) : server_(server) { kill(server_, SIGSTOP); }
    ~FrozenServer() { kill(server_, SIGCONT); }
    FrozenServer(const FrozenServer&) = delete;
    FrozenServer& operator=(const FrozenServer&) = delete;

  private:
    const pid_t server_;
};

Scene::Size sizeAround(const std::vector<Placement>& placements) {
    int width = 1;
    int height = 1;
    for (const Placement& placement : placements) {
        width = std::max(width, placement.x + placement.mode.width);
        height = std::max(height, placement.y + placement.mode.height);
    }
    return {static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
}

}  // namespace

Soak::Soak(unsigned seed, Journal& journal)
    : randr_(server_.display()), board_(seed), random_(seed), journal_(journal) {
    setenv("DISPLAY", server_.display().c_str(), 1);
    board_.plugIn({0, modeOfSize(320, 240)});
    board_.plugIn({1, modeOfSize(480, 360), 320, 0});
    scene_ = std::make_unique<Scene>(server_.display(), seed, sizeAround(board_.placements()));
    arrange();
    tellOfDisplays();
    for (std::size_t i = 0; i < kCaptures; ++i)
        captures_.push_back(std::make_unique<DrivenCapture>(*scene_, journal_, tally_));
}

void Soak::run(milliseconds duration) {
    startAll();
    settle();
    rest();  // what it is at first
    const auto end = Clock::now() + duration;
    while (Clock::now() < end)
        step();
    settle();
    rest();
    holdings_.checkGrowth();
}

/* By how often each is done, in a thousand steps. */
const std::vector<Soak::Deed>& Soak::deeds() {
    static const std::vector<Deed> all{
        {450, &Soak::changeScene}, {90, &Soak::start},          {40, &Soak::stop},
        {30, &Soak::pause},        {50, &Soak::resume},         {70, &Soak::setFrameSize},
        {50, &Soak::setRates},     {90, &Soak::leaveOut},       {40, &Soak::takeBack},
        {50, &Soak::share},        {20, &Soak::changeDisplays}, {12, &Soak::settle},
        {5, &Soak::restAndStart},  {2, &Soak::freeze},          {1, &Soak::stopHoldingAFrame}};
    return all;
}

void Soak::step() {
    unsigned choice = below(1000);
    for (const Deed& deed : deeds()) {
        if (choice < deed.weight) {
            (this->*deed.act)();
            break;
        }
        choice -= deed.weight;
    }
    scene_->tick();
    for (const auto& capture : captures_)
        capture->readFrame();
    std::this_thread::sleep_for(milliseconds(below(kLongestPauseMs)));
}

xcb_window_t Soak::anyWindow() {
    return scene_->windows()[below(scene_->windows().size())].id;
}

void Soak::changeScene() {
    for (unsigned changes = 1 + below(4); changes > 0; --changes)
        journal_.note(scene_->change());
}

void Soak::start() {
    DrivenCapture& capture = anyCapture();
    const std::size_t monitors = board_.expectedMonitors().size();
    const bool mayBeMissing = monitors == 0 || oneIn(8);
    capture.start({.monitor = below(mayBeMissing ? monitors + 1 : monitors),
                   .method = oneIn(4) ? CAP_METHOD_COREGRAPHICS : CAP_METHOD_DEFAULT,
                   .type = oneIn(4) ? CAP_TYPE_APP_WINDOW : CAP_TYPE_DESKTOP,
                   .version = below(2)});
    if (!oneIn(5))
        capture.setRates(30, 30);
    if (!oneIn(3))
        capture.share(anyWindow());
}

void Soak::stop() {
    anyCapture().stop(oneIn(3));
}

void Soak::stopHoldingAFrame() {
    anyCapture().stopHoldingAFrame();
}

void Soak::pause() {
    anyCapture().pause();
}

void Soak::resume() {
    anyCapture().resume();
}

void Soak::setFrameSize() {
    DrivenCapture& capture = anyCapture();
    const CAP_SIZE full = capture.fullSize();
    const auto part = [this](std::uint32_t length) { return length / 2 + below(length / 2 + 1); };
    switch (below(8)) {
        case 0:
            return capture.setFrameSize({0, full.dwHeight});
        case 1:
            return capture.setFrameSize({1, 1});
        case 2:
            return capture.setFrameSize({full.dwWidth + 1, full.dwHeight});
        case 3:
        case 4:
            return capture.setFrameSize(full);
        case 5:
            return capture.setFrameSize({full.dwWidth / 2, full.dwHeight / 2});
        default:
            return capture.setFrameSize({part(full.dwWidth), part(full.dwHeight)});
    }
}

void Soak::setRates() {
    constexpr unsigned kRates[]{0, 1, 3, 10, 15, 30, 30, 60, 1000};
    const unsigned most = kRates[below(std::size(kRates))];
    anyCapture().setRates(most, kRates[below(std::size(kRates))]);
}

void Soak::leaveOut() {
    anyCapture().leaveOut(anyWindow());
}

void Soak::takeBack() {
    DrivenCapture& capture = anyCapture();
    if (oneIn(4))
        capture.takeAllBack();
    else
        capture.takeBack(anyWindow());
}

void Soak::share() {
    anyCapture().share(anyWindow());
}

/* The library is not always told: then it goes by what it knows until a start finds out. */
void Soak::changeDisplays() {
    for (const auto& capture : captures_)
        capture->expectOtherDisplays();
    journal_.note(board_.change());
    arrange();
    if (!oneIn(4))
        tellOfDisplays();
}

void Soak::arrange() {
    randr_.arrange(board_.placements());
    randr_.setPrimary(board_.primary());
    if (!board_.placements().empty())
        scene_->setScreen(sizeAround(board_.placements()));
}

void Soak::tellOfDisplays() {
    const bool isUpdate = oneIn(2);
    journal_.note(isUpdate ? "CapMgr_UpdateMonitor" : "CapMgr_OnMonitorInfoChange");
    isUpdate ? CapMgr_UpdateMonitor() : CapMgr_OnMonitorInfoChange();
    require(seenMonitors() == board_.expectedMonitors(), "the monitors are those plugged in");
}

void Soak::settle() {
    journal_.note("settle");
    ::settle(*scene_, captures_);
}

void Soak::rest() {
    for (const auto& capture : captures_)
        capture->stop(oneIn(2));
    holdings_.check();
    journal_.note("rest, with " + std::to_string(holdings_.memory().back().inUse) + " KiB in use");
}

void Soak::restAndStart() {
    rest();
    startAll();
}

/* Many at the same time, some of them more than once. */
void Soak::startAll() {
    for (std::size_t i = 0; i < kCaptures; ++i)
        start();
}

/* Only what needs no answer of the server's in time; each capture has had its first frame. */
void Soak::freeze() {
    for (const auto& capture : captures_)
        capture->resume();
    settle();
    journal_.note("the server freezes");
    const FrozenServer frozen(server_.pid());
    for (unsigned acts = 1 + below(3); acts > 0; --acts) {
        DrivenCapture& capture = anyCapture();
        capture.readFrame();
        switch (below(4)) {
            case 0:
                capture.pause();
                break;
            case 1:
                capture.leaveOut(anyWindow());
                break;
            default:
                capture.stop(false);
        }
        capture.readFrame();
    }
    journal_.note("the server goes on");
}
