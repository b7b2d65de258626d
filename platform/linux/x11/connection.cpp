#include "x11/connection.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "coregraphics/thread_guards.h"
#include "coregraphics/trace.h"
#include "x11/window_content.h"

namespace qor::x11 {
namespace {

using Clock = std::chrono::steady_clock;
using coregraphics::trace;

bool isLocalSocket(int descriptor) {
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    return getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
           peer.ss_family == AF_UNIX;
}

const xcb_screen_t* findScreen(xcb_connection_t* handle, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(handle));
    for (int i = 0; i < number && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.rem > 0 ? screens.data : nullptr;
}

// Questions about extensions wait without a bound: they are asked on the connecting thread, which
// nobody has to wait for.

/* Some servers, of the kind whose screen is a window of another one, know of no output before they
 * are told to look for it. Those that know of one are not told: looking takes long, and may make
 * displays flicker. */
void lookForOutputs(xcb_connection_t* handle, xcb_window_t root) {
    const auto cookie = xcb_randr_get_screen_resources_current(handle, root);
    const Reply<xcb_randr_get_screen_resources_current_reply_t> known(
        xcb_randr_get_screen_resources_current_reply(handle, cookie, nullptr));
    if (known == nullptr || known->num_outputs > 0)
        return;
    const auto lookCookie = xcb_randr_get_screen_resources(handle, root);
    const Reply<xcb_randr_get_screen_resources_reply_t> found(
        xcb_randr_get_screen_resources_reply(handle, lookCookie, nullptr));
}

void findOutputs(Link& link) {
    xcb_connection_t* handle = link.handle.get();
    if (!isPresent(handle, xcb_randr_id))
        return;
    const auto cookie = xcb_randr_query_version(handle, 1, 5);
    const Reply<xcb_randr_query_version_reply_t> reply(
        xcb_randr_query_version_reply(handle, cookie, nullptr));
    if (reply == nullptr)
        return;
    link.hasOutputs = isAtLeast(reply->major_version, reply->minor_version, 1, 3);
    link.hasMonitors = isAtLeast(reply->major_version, reply->minor_version, 1, 5);
    const xcb_screen_t* screen = findScreen(handle, link.screenNumber);
    if (link.hasOutputs && screen != nullptr)
        lookForOutputs(handle, screen->root);
}

void findSharedMemory(Link& link) {
    xcb_connection_t* handle = link.handle.get();
    if (!isPresent(handle, xcb_shm_id))
        return;
    const auto cookie = xcb_shm_query_version(handle);
    const Reply<xcb_shm_query_version_reply_t> reply(
        xcb_shm_query_version_reply(handle, cookie, nullptr));
    if (reply == nullptr)
        return;
    link.hasSharedMemory = true;
    link.hasSharedPixmaps =
        reply->shared_pixmaps != 0 && reply->pixmap_format == XCB_IMAGE_FORMAT_Z_PIXMAP;
    link.hasSharedDescriptors = isAtLeast(reply->major_version, reply->minor_version, 1, 2) &&
                                isLocalSocket(xcb_get_file_descriptor(handle));
}

/* A server goes by the version that its client says it knows. */
bool offersSelectionNotices(xcb_connection_t* handle) {
    if (!isPresent(handle, xcb_xfixes_id))
        return false;
    const Reply<xcb_xfixes_query_version_reply_t> reply(xcb_xfixes_query_version_reply(
        handle,
        xcb_xfixes_query_version(handle, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
        nullptr));
    return reply != nullptr && isAtLeast(reply->major_version, reply->minor_version, 1, 0);
}

std::uint8_t findDamageNotice(xcb_connection_t* handle) {
    if (!isPresent(handle, xcb_damage_id))
        return 0;
    const Reply<xcb_damage_query_version_reply_t> reply(xcb_damage_query_version_reply(
        handle,
        xcb_damage_query_version(handle, XCB_DAMAGE_MAJOR_VERSION, XCB_DAMAGE_MINOR_VERSION),
        nullptr));
    if (reply == nullptr || !isAtLeast(reply->major_version, reply->minor_version, 1, 0))
        return 0;
    return static_cast<std::uint8_t>(xcb_get_extension_data(handle, &xcb_damage_id)->first_event +
                                     XCB_DAMAGE_NOTIFY);
}

/* One at a time: looking up the user's credentials goes through a static buffer of a library that
 * knows no threads. */
xcb_connection_t* connect(const std::string& displayName, int& screenNumber) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    return xcb_connect(displayName.c_str(), &screenNumber);
}

Link openLink(const std::string& displayName) {
    Link link;
    errno = 0;
    link.handle.reset(connect(displayName, link.screenNumber));
    if (xcb_connection_has_error(link.handle.get()) != 0) {
        link.lacksDescriptor = errno == EMFILE || errno == ENFILE;
        return link;
    }
    xcb_connection_t* handle = link.handle.get();
    for (xcb_extension_t* extension : {&xcb_randr_id, &xcb_shm_id, &xcb_composite_id, &xcb_shape_id,
                                       &xcb_render_id, &xcb_xfixes_id, &xcb_damage_id})
        xcb_prefetch_extension_data(handle, extension);
    findOutputs(link);
    findSharedMemory(link);
    link.hasWindowContents = offersWindowContents(handle);
    link.hasShapes = isPresent(handle, xcb_shape_id);
    link.damageNotice = findDamageNotice(handle);
    link.hasSelectionNotices = offersSelectionNotices(handle);
    link.pictureFormats = findPictureFormats(handle, link.screenNumber);
    return link;
}

constexpr int kMostHandshakes = 16;

/* That of a connection that is being made, while it lasts. */
class Handshake {
  public:
    Handshake() { ++underWay; }
    ~Handshake() { --underWay; }
    Handshake(const Handshake&) = delete;
    Handshake& operator=(const Handshake&) = delete;

    static inline std::atomic<int> underWay = 0;
};

/* Connecting waits for the server without a bound, and offers no way to bound it; so it is done on
 * a thread of its own. If the result is not wanted any more when it comes, it is dropped, which
 * disconnects. */
std::future<Link> startConnecting(std::string displayName) {
    // Shared, so that where there is no memory for a thread the result goes first: a task that is
    // not run needs memory to say so, unless nobody waits for it.
    const auto task =
        std::make_shared<std::packaged_task<Link()>>([displayName = std::move(displayName)] {
            const Handshake handshake;
            return openLink(displayName);
        });
    auto link = task->get_future();
    const coregraphics::AllSignalsHeld allSignalsHeld;
    std::thread thread([task] { (*task)(); });
    pthread_setname_np(thread.native_handle(), "qor-connect");  // for whoever looks at the host
    thread.detach();
    return link;
}

void keepReachable(xcb_connection_t* handle) noexcept {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    try {
        static auto& kept = *new std::vector<xcb_connection_t*>;
        kept.push_back(handle);
    } catch (const std::bad_alloc&) {
        trace("no memory to keep a connection that was left to the parent");
    }
}

/* False if nothing comes in until the deadline. */
bool waitReadable(int descriptor, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        pollfd entry{descriptor, POLLIN, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left.count()));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

}  // namespace

Connection::Connection(const char* displayName) : connecting_(startConnecting(displayName)) {}

coregraphics::ServerState Connection::refresh() {
    using coregraphics::ServerState;
    if (isLost())
        return ServerState::lost;
    if (connecting_.valid() && !finishConnecting())
        return connecting_.valid() ? ServerState::busy : ServerState::lost;
    // A server that ended meanwhile is noticed here, before the call relies on it.
    readEvents();
    const bool answers = finishLateReply();
    if (isLost())
        return ServerState::lost;
    return answers ? ServerState::ready : ServerState::busy;
}

/* Reads what has come in. */
void Connection::readEvents() {
    takeIn(xcb_poll_for_event);
}

/* Some events are sent to every client, asked for or not; errors of requests whose outcome does not
 * matter come this way too. */
void Connection::takeIn(xcb_generic_event_t* (*next)(xcb_connection_t*)) {
    for (;;) {
        // Room first: an event that was read and finds none would be missing from the sequence.
        events_.emplace_back();
        events_.back().reset(next(handle()));
        const bool wasLast = events_.back() == nullptr;
        const bool isError = !wasLast && events_.back()->response_type == 0;
        if (wasLast || isError || isTaken(*events_.back()) || !keepsEvents_)
            events_.pop_back();
        if (wasLast)
            return;
    }
}

bool Connection::isTaken(const xcb_generic_event_t& event) noexcept {
    const auto takes = [&event](EventListener* listener) { return listener->take(event); };
    return std::ranges::any_of(listeners_, takes);
}

void Connection::addListener(EventListener& listener) {
    listeners_.push_back(&listener);
}

void Connection::removeListener(const EventListener& listener) noexcept {
    std::erase(listeners_, &listener);
}

void Connection::addRootEvents(std::uint32_t mask) {
    if ((rootEvents_ & mask) == mask)
        return;
    rootEvents_ |= mask;
    // Not checked: the root window is always there, and notices are for every client to have.
    xcb_change_window_attributes(handle(), screen().root, XCB_CW_EVENT_MASK, &rootEvents_);
}

std::uint32_t Connection::takeIdentifier() {
    if (freeIdentifiers_.empty()) {
        freeIdentifiers_.reserve(takenIdentifiers_ + 1);
        ++takenIdentifiers_;
        return xcb_generate_id(handle());
    }
    const std::uint32_t identifier = freeIdentifiers_.back();
    freeIdentifiers_.pop_back();
    return identifier;
}

void Connection::giveBackIdentifier(std::uint32_t identifier) noexcept {
    freeIdentifiers_.push_back(identifier);
}

void Connection::keepEvents(bool keep) {
    readEvents();
    events_.clear();
    keepsEvents_ = keep;
}

std::vector<Reply<xcb_generic_event_t>> Connection::takeEvents() {
    readEvents();
    return std::exchange(events_, {});
}

bool Connection::isLost() const {
    // A server that was frozen goes on with all that were waiting. One reply that was lost, as the
    // X client library may do where memory is short, never comes.
    if (connecting_.valid())
        return Clock::now() - begun_ > kLongestHandshake && Handshake::underWay < kMostHandshakes;
    return screen_ == nullptr || hasLostReply_ || xcb_connection_has_error(handle()) != 0;
}

bool Connection::finishConnecting() {
    if (connecting_.wait_for(kPatience) != std::future_status::ready) {
        trace("the display server does not answer yet");
        return false;
    }
    link_ = connecting_.get();
    if (xcb_connection_has_error(handle()) != 0) {
        trace("cannot connect: %s", link_.lacksDescriptor
                                        ? "no descriptor is free"
                                        : "no display server at DISPLAY, or it refuses");
        return false;
    }
    screen_ = findScreen(handle(), link_.screenNumber);
    trace("connected: outputs %s, shared memory %s", link_.hasOutputs ? "listed" : "not listed",
          link_.hasSharedDescriptors ? "by descriptor"
          : link_.hasSharedMemory    ? "by identifier"
                                     : "not offered");
    return screen_ != nullptr;
}

bool Connection::finishLateReply() {
    if (!lateSequence_)
        return true;
    const unsigned sequence = *std::exchange(lateSequence_, std::nullopt);
    xcb_generic_error_t* error = nullptr;
    const Reply<void> reply(await(sequence, &error));
    const Reply<xcb_generic_error_t> ownedError(error);
    return !lateSequence_;
}

void* Connection::await(unsigned sequence, xcb_generic_error_t** error) {
    *error = nullptr;
    if (lateSequence_) {
        // Of several requests under way, the first one that is late is the one to wait for.
        xcb_discard_reply(handle(), sequence);
        return nullptr;
    }
    if (xcb_flush(handle()) <= 0)
        return nullptr;
    const auto deadline = Clock::now() + kPatience;
    void* reply = nullptr;
    while (xcb_poll_for_reply(handle(), sequence, &reply, error) == 0) {
        if (!waitReadable(xcb_get_file_descriptor(handle()), deadline)) {
            lateSequence_ = sequence;
            trace("the display server does not answer");
            return nullptr;
        }
        readEvents();
    }
    Reply<void> ownedReply(reply);
    Reply<xcb_generic_error_t> ownedError(*error);
    // Without memory for it, the X client library drops a reply and goes on. That is no answer: a
    // window without attributes would be none.
    if (ownedReply == nullptr && ownedError == nullptr)
        hasLostReply_ = true;
    // What the server told before it replied was read with the reply.
    takeIn(xcb_poll_for_queued_event);
    *error = ownedError.release();
    return ownedReply.release();
}

void Connection::abandon() noexcept {
    if (link_.handle == nullptr)
        return;
    // Disconnecting would shut the socket down for the parent too. The rest of the connection is
    // memory that cannot be freed without that; keeping it reachable tells leak checkers so.
    close(xcb_get_file_descriptor(handle()));
    keepReachable(link_.handle.release());
}

bool hasCaughtUp(Connection& connection) {
    return Request<xcb_get_input_focus_reply_t>(connection,
                                                xcb_get_input_focus(connection.handle()))
               .take() != nullptr;
}

bool succeeded(Connection& connection, xcb_void_cookie_t cookie) {
    // Replies come in the order of requests: once that of any later request is here, the outcome of
    // this one is too, and asking for it cannot block.
    if (!hasCaughtUp(connection)) {
        xcb_discard_reply(connection.handle(), cookie.sequence);
        return false;
    }
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection.handle(), cookie));
    return error == nullptr;
}

}  // namespace qor::x11
