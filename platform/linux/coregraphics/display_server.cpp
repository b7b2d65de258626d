#include "coregraphics/display_server.h"

#include <unistd.h>

#include <algorithm>

namespace qor::coregraphics {
namespace {

// Trivially destroyed, so it can still be read by code that runs after the session's destructor,
// such as another thread-local object that takes an image at the thread's end.
thread_local bool threadHasEnded = false;

/* A thread's connection and the process that made it. */
class ThreadSession {
  public:
    ~ThreadSession() {
        threadHasEnded = true;
        leaveToParent();
    }

    DisplayServer* server() {
        leaveToParent();
        ServerState state = server_ == nullptr ? ServerState::lost : server_->refresh();
        if (state == ServerState::lost) {
            server_.reset();  // first, as what it holds may be what the new one needs
            server_ = connectDisplayServer();
            owner_ = getpid();
            state = server_ == nullptr ? ServerState::lost : server_->refresh();
        }
        return state == ServerState::ready ? server_.get() : nullptr;
    }

  private:
    /* In a forked child, saying goodbye on the inherited connection would end the parent's. */
    void leaveToParent() noexcept {
        if (server_ == nullptr || owner_ == getpid())
            return;
        server_->abandon();
        server_.reset();
    }

    std::unique_ptr<DisplayServer> server_;
    pid_t owner_ = 0;
};

}  // namespace

DisplayServer* threadDisplayServer() {
    if (threadHasEnded)
        return nullptr;
    thread_local ThreadSession session;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): it lives as long as the thread
    return session.server();
}

std::optional<Display> findDisplay(std::uint32_t displayId) noexcept {
    using Found = std::optional<Display>;
    return askServer(Found(), [displayId](DisplayServer& server) -> Found {
        const auto displays = server.displays();
        if (!displays)
            return std::nullopt;
        const auto found = std::ranges::find(*displays, displayId, &Display::id);
        return found == displays->end() ? Found() : *found;
    });
}

}  // namespace qor::coregraphics
