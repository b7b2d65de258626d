// What the processes of one measurement tell each other: memory that they share.
//
// The measuring process makes a board, the processes that it starts inherit its descriptor and are
// told its number. Nobody waits for another on a board but the host for its next command, so that
// a process costs nothing while it has nothing to do.
#ifndef QOR_BENCH_FRAME_PATH_BOARD_H
#define QOR_BENCH_FRAME_PATH_BOARD_H

#include <semaphore.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "frame_path_scene_plan.h"

namespace qor::bench {

// Nanoseconds of the clock that all processes share.
inline int64_t nowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

// Each finished frame, written by the process that takes them.
struct Deliveries {
    static constexpr uint32_t kCapacity = 1U << 16;

    struct Frame {
        int64_t begin;     // of taking it
        int64_t end;       // when it was in the frame buffer
        uint32_t capture;  // counts the threads that take frames, from 0
    };

    void add(const Frame& frame) {
        const uint32_t place = taken.fetch_add(1);
        if (place < kCapacity) {
            frames[place] = frame;
            present[place].store(true, std::memory_order_release);
        }
    }

    std::atomic<uint32_t> taken;
    std::array<std::atomic<bool>, kCapacity> present;
    std::array<Frame, kCapacity> frames;
};

struct SceneBoard {
    static constexpr uint32_t kKept = 4096;

    ScenePlan plan;                      // written before the scene starts
    std::atomic<bool> isReady;           // windows are there and the first picture is drawn
    std::atomic<uint32_t> goal;          // the scene rests while it has made as many changes
    std::atomic<bool> isResting;         // set by the scene, which has then made `changes`
    std::atomic<uint32_t> changes;       // made, and carried out by the server
    std::array<uint32_t, 2> onTop;       // the plain windows, where there are some
    uint32_t single;                     // the window to be shown alone
    std::array<int64_t, kKept> carried;  // when the server had carried out change n: n % kKept
};

enum class Shown { everything, withoutTwoWindows, singleWindow };

struct HostPlan {
    Size delivered;
    Shown shown;
    int captures;
};

enum class HostCommand { compare, measureLatency, end };

struct HostBoard {
    static constexpr uint32_t kKept = 4096;

    HostPlan plan;              // written before the host starts
    std::atomic<bool> isReady;  // every capture has a frame
    sem_t commanded;            // posted when there is a command
    HostCommand command;
    int64_t latencyNs;                     // how long to measure it
    std::atomic<uint32_t> done;            // commands carried out
    std::array<int64_t, kKept> latencies;  // nanoseconds
    uint32_t latencyCount;
    uint32_t missed;  // changes that were in no frame
};

template <typename Content>
class SharedBoard {
  public:
    // A new one, all zero.
    SharedBoard() : SharedBoard(memfd_create("bench board", 0)) {
        static_assert(alignof(Content) <= 4096);
        if (ftruncate(descriptor_, sizeof(Content)) == -1) {
            throw std::system_error(errno, std::generic_category(), "board");
        }
        map();
    }

    // That of the process which started this one.
    static SharedBoard inherited(const char* descriptor) {
        SharedBoard board(std::stoi(descriptor));
        board.map();
        return board;
    }

    SharedBoard(SharedBoard&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)),
          content_(std::exchange(other.content_, nullptr)) {}
    SharedBoard& operator=(SharedBoard&&) = delete;
    ~SharedBoard() {
        if (content_ != nullptr) {
            munmap(content_, sizeof(Content));
        }
        if (descriptor_ != -1) {
            close(descriptor_);
        }
    }

    Content* operator->() const { return content_; }
    std::string descriptor() const { return std::to_string(descriptor_); }

  private:
    explicit SharedBoard(int descriptor) : descriptor_(descriptor) {}

    void map() {
        void* const memory =
            mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
        if (memory == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "board");
        }
        content_ = std::launder(static_cast<Content*>(memory));
    }

    int descriptor_;
    Content* content_ = nullptr;
};

}  // namespace qor::bench

#endif
