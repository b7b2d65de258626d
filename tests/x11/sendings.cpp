#include "sendings.h"

#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "../contract/next_definition.h"

namespace {

thread_local int sendingsUntil = 0;  // 0: none is interrupted
thread_local std::function<void()> interruption;
constinit std::atomic<int> handshakesUntil = 0;  // 0: none is lost

/* Until nothing more has come for a while. */
void waitForReplies(int socket) {
    int waiting = 0;
    int before = -1;
    for (int rounds = 0; waiting == 0 || waiting != before; ++rounds) {
        before = waiting;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (rounds > 500 || ioctl(socket, FIONREAD, &waiting) != 0)
            throw std::runtime_error("the server does not answer");
    }
}

bool isConnecting() {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof name);
    return std::string_view(name) == "qor-connect";
}

ssize_t sizeOf(std::span<const iovec> parts) {
    return std::accumulate(
        parts.begin(), parts.end(), ssize_t{0},
        [](ssize_t sum, const iovec& part) { return sum + static_cast<ssize_t>(part.iov_len); });
}

}  // namespace

namespace sendings {

void interrupt(int number, std::function<void()> act) {
    sendingsUntil = number;
    interruption = std::move(act);
}

bool wasInterrupted() {
    return std::exchange(sendingsUntil, 0) == 0;
}

void loseOneOfAHandshake(int number) {
    handshakesUntil = number;
}

}  // namespace sendings

extern "C" INTERPOSED ssize_t writev(int socket, const iovec* parts, int count) {
    static const auto next = nextDefinition<decltype(&writev)>("writev");
    if (handshakesUntil > 0 && isConnecting() && --handshakesUntil == 0)
        return sizeOf({parts, static_cast<std::size_t>(count)});
    const bool isInterrupted = sendingsUntil > 0 && --sendingsUntil == 0;
    if (isInterrupted)
        interruption();
    const ssize_t sent = next(socket, parts, count);
    if (isInterrupted)
        waitForReplies(socket);
    return sent;
}
