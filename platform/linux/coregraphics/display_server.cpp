#include "coregraphics/display_server.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <new>

namespace qor::coregraphics {
namespace {

/* A thread's connection and the process that made it. */
class ThreadSession {
  public:
    ~ThreadSession() { leaveToParent(); }
    ThreadSession() = default;
    ThreadSession(const ThreadSession&) = delete;
    ThreadSession& operator=(const ThreadSession&) = delete;

    /* The calling thread's. Throws std::bad_alloc. */
    static ThreadSession& get();

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

/* Disconnecting is a conversation, too, and a thread may be cancelled as it ends. */
void endSession(void* session) {
    const CancellationHeld cancellationHeld;
    const WriteSignalsHeld writeSignalsHeld;
    delete static_cast<ThreadSession*>(session);
}

/* No thread_local object: where there is no memory to note that one is to be destroyed, the C
 * library ends the process. */
ThreadSession& ThreadSession::get() {
    static const pthread_key_t key = [] {
        pthread_key_t made = 0;
        if (pthread_key_create(&made, endSession) != 0)
            throw std::bad_alloc();
        return made;
    }();
    if (void* const present = pthread_getspecific(key))
        return *static_cast<ThreadSession*>(present);
    auto session = std::make_unique<ThreadSession>();
    if (pthread_setspecific(key, session.get()) != 0)
        throw std::bad_alloc();
    return *session.release();
}

}  // namespace

DisplayServer* threadDisplayServer() {
    return ThreadSession::get().server();
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
