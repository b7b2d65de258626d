#include "frame_path_host.h"

#include <CaptureManager.h>
#include <fmt/format.h>
#include <kxcommon64.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <vector>

#include "frame_path_board.h"

namespace qor::bench {

namespace {

constexpr unsigned kFramesPerSecond = 30;
constexpr int64_t kNsPerMs = 1'000'000;
constexpr int64_t kFrameBoundNs = 10'000 * kNsPerMs;
constexpr int64_t kEqualBoundNs = 3'000 * kNsPerMs;
constexpr int64_t kPollNs = kNsPerMs / 2;
constexpr uint32_t kColourMask = 0xFFFFFF;  // the fourth byte carries no picture
constexpr unsigned kNumberAt = 2;           // in the corner with numbers, scaled down as well

void sleepNs(int64_t duration) {
    const timespec time{duration / 1'000'000'000, duration % 1'000'000'000};
    nanosleep(&time, nullptr);
}

template <typename Condition>
bool within(int64_t bound, Condition condition) {
    const int64_t end = nowNs() + bound;
    while (!condition()) {
        if (nowNs() > end) {
            return false;
        }
        sleepNs(kPollNs);
    }
    return true;
}

void fill(Picture& screen, Size size, const Part& part, uint32_t colour) {
    for (int y = part.y; y < part.y + part.height; ++y) {
        const auto row = screen.begin() + ptrdiff_t{y} * size.width + part.x;
        std::fill(row, row + part.width, colour);
    }
}

void put(Picture& screen, Size size, const Part& part, uint32_t seed) {
    const Picture picture = makePicture({part.width, part.height}, seed);
    for (int y = 0; y < part.height; ++y) {
        std::copy_n(picture.begin() + ptrdiff_t{y} * part.width, part.width,
                    screen.begin() + ptrdiff_t{part.y + y} * size.width + part.x);
    }
}

// The screen as a frame has to show it after so many changes.
Picture expectedScreen(const ScenePlan& plan, Shown shown, uint32_t changes) {
    const Size size = plan.screen;
    const bool isChangingSingle = plan.kind == SceneKind::singleChanging;
    const uint32_t single = singleSeed(isChangingSingle ? changes : 0);
    if (shown == Shown::singleWindow) {
        Picture screen(size.bytes() / kBytesPerPixel);
        put(screen, size, kSingle, single);
        return screen;
    }
    Picture screen = makePicture(size, screenSeed(plan.kind == SceneKind::full ? changes : 0));
    if (plan.kind == SceneKind::moving) {
        put(screen, size, squareAfter(changes, size), kSquareSeed);
    }
    if (plan.kind == SceneKind::singleStill || isChangingSingle) {
        put(screen, size, kSingle, single);
    }
    const bool isMovingBeneath = plan.kind == SceneKind::twoAndMoving;
    if (isMovingBeneath) {
        fill(screen, size, beneathAfter(changes), kBeneathColour);
    }
    const bool hasTwoWindows = isMovingBeneath || plan.kind == SceneKind::twoWindows;
    if (hasTwoWindows && shown == Shown::everything) {
        for (size_t i = 0; i < std::size(kOnTop); ++i) {
            fill(screen, size, kOnTop[i], kOnTopColours[i]);
        }
    }
    return screen;
}

Picture scaled(const Picture& screen, Size from, Size to) {
    if (from.width == to.width && from.height == to.height) {
        return screen;
    }
    Picture result(to.bytes() / kBytesPerPixel);
    BilinearInterpolation(reinterpret_cast<const unsigned char*>(screen.data()), from.width,
                          from.height, reinterpret_cast<unsigned char*>(result.data()), to.width,
                          to.height, static_cast<int>(kBytesPerPixel));
    return result;
}

// One capture of the main display, from its start to its end.
class Capture {
  public:
    Capture(const HostPlan& plan, const SceneBoard& scene)
        : index_(CapMgr_GenerateCaptureIndex()), size_(plan.delivered) {
        const bool isSingle = plan.shown == Shown::singleWindow;
        bool isSet = CapMgr_SetMaxFrameRate(index_, kFramesPerSecond);
        isSet = isSet && CapMgr_SetCaptureFrameSize(index_, {static_cast<uint32_t>(size_.width),
                                                             static_cast<uint32_t>(size_.height)});
        if (plan.shown == Shown::withoutTwoWindows) {
            for (const uintptr_t window : scene.onTop) {
                CapMgr_SetExcludeWnd(index_, reinterpret_cast<const void*>(window),
                                     CAP_EXC_WND_ADD);
            }
        }
        if (!isSet ||
            CapMgr_StartCapture(index_, CapMgr_GetPrimaryMonitorIndex(), CAP_METHOD_DEFAULT,
                                isSingle ? CAP_TYPE_APP_WINDOW : CAP_TYPE_DESKTOP, 0,
                                PARALLEL_CAPTURE_MODE) != 0) {
            throw std::runtime_error("the capture did not start");
        }
        if (isSingle) {
            CapMgr_SetSharedAppWnd(index_, scene.single, CAP_APP_WND_SET);
        }
        CapMgr_UpdateFrameRate(index_, kFramesPerSecond);
    }
    ~Capture() { CapMgr_StopCapture(index_, 1); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // False while there is no frame.
    template <typename Look>
    bool inFrame(Look look) const {
        const CAP_DESKTOP_DATA frame = CapMgr_LockScreenBuffer(index_);
        if (frame.pData == nullptr) {
            return false;
        }
        const bool result = frame.dwDataLen == size_.bytes() && look(frame.pData);
        CapMgr_UnlockScreenBuffer(index_);
        return result;
    }

    bool shows(const Picture& expected) const {
        return inFrame([&](const unsigned char* data) {
            for (size_t i = 0; i < expected.size(); ++i) {
                if (pixelAt(data, i) != (expected[i] & kColourMask)) {
                    return false;
                }
            }
            return true;
        });
    }

    // The colour in the corner that shows numbers; 0 while there is no frame.
    uint32_t cornerColour() const {
        uint32_t colour = 0;
        inFrame([&](const unsigned char* data) {
            colour =
                pixelAt(data, size_t{kNumberAt} * static_cast<size_t>(size_.width) + kNumberAt);
            return true;
        });
        return colour;
    }

  private:
    static uint32_t pixelAt(const unsigned char* data, size_t pixel) {
        uint32_t value = 0;
        std::memcpy(&value, data + pixel * kBytesPerPixel, sizeof value);
        return value & kColourMask;
    }

    unsigned index_;
    Size size_;
};

class Host {
  public:
    Host(SharedBoard<SceneBoard>& scene, SharedBoard<HostBoard>& board)
        : scene_(scene), board_(board) {
        for (int i = 0; i < board_->plan.captures; ++i) {
            captures_.push_back(std::make_unique<Capture>(board_->plan, *scene_.operator->()));
        }
        for (const std::unique_ptr<Capture>& capture : captures_) {
            if (!within(kFrameBoundNs, [&] {
                    return capture->inFrame([](const unsigned char*) { return true; });
                })) {
                throw std::runtime_error("there is no frame");
            }
        }
        board_->isReady = true;
    }

    void run() {
        while (true) {
            while (sem_wait(&board_->commanded) == -1) {
            }
            switch (board_->command) {
                case HostCommand::compare:
                    compare();
                    break;
                case HostCommand::measureLatency:
                    measureLatency();
                    break;
                case HostCommand::end:
                    return;
            }
            ++board_->done;
        }
    }

  private:
    // The scene rests meanwhile.
    void compare() {
        const uint32_t changes = scene_->changes;
        const Picture expected = scaled(expectedScreen(scene_->plan, board_->plan.shown, changes),
                                        scene_->plan.screen, board_->plan.delivered);
        for (const std::unique_ptr<Capture>& capture : captures_) {
            if (!within(kEqualBoundNs, [&] { return capture->shows(expected); })) {
                throw std::runtime_error(
                    fmt::format("after {} changes the frame is not what the scene drew", changes));
            }
        }
    }

    void measureLatency() {
        const int64_t end = nowNs() + board_->latencyNs;
        uint32_t count = 0;
        uint32_t last = scene_->changes;  // of what was before, nobody knows how long it was there
        while (nowNs() < end && count < HostBoard::kKept) {
            sleepNs(kPollNs);
            const uint32_t colour = captures_.front()->cornerColour();
            const int64_t seen = nowNs();
            const uint32_t number = numberOfColour(colour);
            if (number > last && number <= scene_->changes) {
                board_->latencies[count++] = seen - scene_->carried[number % SceneBoard::kKept];
                board_->missed += number - last - 1;
                last = number;
            }
        }
        board_->latencyCount = count;
    }

    SharedBoard<SceneBoard>& scene_;
    SharedBoard<HostBoard>& board_;
    std::vector<std::unique_ptr<Capture>> captures_;
};

}  // namespace

int runHost(const char* sceneBoard, const char* hostBoard) {
    try {
        auto scene = SharedBoard<SceneBoard>::inherited(sceneBoard);
        auto board = SharedBoard<HostBoard>::inherited(hostBoard);
        Host(scene, board).run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "host: %s\n", error.what());
        return 1;
    }
}

}  // namespace qor::bench
