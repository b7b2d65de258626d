/*
 * One connection to an X server, used by one thread.
 *
 * Making the connection, and every wait for a reply, is bounded: a server that is frozen, or
 * grabbed by another client, makes a call fail after kPatience and is asked again by the next one.
 * Nothing further is sent before the late reply has come, so a frozen server's queue cannot fill.
 */
#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <vector>

#include "coregraphics/display_server.h"
#include "x11/extension.h"
#include "x11/picture_formats.h"

namespace qor::x11 {

inline constexpr std::chrono::milliseconds kPatience{2000};

/* When making a connection takes longer, another one is begun. */
inline constexpr std::chrono::milliseconds kLongestHandshake{6000};

struct Disconnect {
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};

/* A connection as it comes out of the handshake, with what the server was found to offer. */
struct Link {
    std::unique_ptr<xcb_connection_t, Disconnect> handle;
    int screenNumber = 0;
    bool lacksDescriptor = false;       // why there is no connection
    bool hasOutputs = false;            // RandR 1.3: current resources, primary output
    bool hasMonitors = false;           // RandR 1.5: outputs split and joined by hand
    bool hasSharedMemory = false;       // MIT-SHM
    bool hasSharedDescriptors = false;  // MIT-SHM 1.2, on a socket that carries descriptors
    bool hasWindowContents = false;     // COMPOSITE 0.2: a window's content as a pixmap
    bool hasShapes = false;             // SHAPE: windows that are no rectangles
    bool hasSelectionNotices = false;   // XFIXES 1.0: who owns a selection
    bool hasSharedPixmaps = false;      // MIT-SHM: the server draws on shared memory
    std::uint8_t damageNotice = 0;      // DAMAGE: the event that tells of it; 0 without
    PictureFormats pictureFormats;      // RENDER 0.10; empty without it
};

/* Takes events in as they are read, also while a reply is awaited. */
class EventListener {
  public:
    virtual ~EventListener() = default;

    /* True if nobody else has to see the event. */
    virtual bool take(const xcb_generic_event_t& event) noexcept = 0;
};

class Connection {
  public:
    /* Begins to connect to the named display. */
    explicit Connection(const char* displayName);

    /* Finishes connecting, and waits for a reply that came too late for an earlier call. */
    coregraphics::ServerState refresh();

    /* True once the connection is of no more use. */
    bool isLost() const;

    /* False once it is lost, or a reply did not come in time: nothing more can be asked in this
     * call. */
    bool answers() const { return !lateSequence_ && !isLost(); }

    /* Closes this process's end without a word to the server. */
    void abandon() noexcept;

    xcb_connection_t* handle() const { return link_.handle.get(); }
    const Link& link() const { return link_; }
    const xcb_screen_t& screen() const { return *screen_; }

    /* An identifier for an object to be made in the server, to be given back when the request that
     * frees the object was sent. What is made for each image takes its identifiers here: they would
     * run out within the hour, and xcb would then wait for new ones without a bound. */
    std::uint32_t takeIdentifier();
    void giveBackIdentifier(std::uint32_t identifier) noexcept;

    /* Has events told to a listener, until it is removed. */
    void addListener(EventListener& listener);
    void removeListener(const EventListener& listener) noexcept;

    /* Asks to be told also of these events about the root window, a client having one mask for each
     * window. */
    void addRootEvents(std::uint32_t mask);

    /* Keeps the events that come in from now on until takeEvents() is called. Before, and again
     * with a false argument, they are dropped. */
    void keepEvents(bool keep);

    /* The events that came in since the last call, oldest first. Those that the server sent before
     * a reply that was taken are among them. */
    std::vector<Reply<xcb_generic_event_t>> takeEvents();

    /* The reply to a request; null with *error set if the server refused, null with *error null if
     * there is none in time or the connection is lost. Whatever the server told before it replied
     * has been taken in. The caller frees both. */
    void* await(unsigned sequence, xcb_generic_error_t** error);

  private:
    bool finishConnecting();
    bool finishLateReply();
    void readEvents();
    void takeIn(xcb_generic_event_t* (*next)(xcb_connection_t*));
    bool isTaken(const xcb_generic_event_t& event) noexcept;

    const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
    std::future<Link> connecting_;
    Link link_;
    const xcb_screen_t* screen_ = nullptr;
    bool hasLostReply_ = false;                   // for want of memory, here
    std::optional<unsigned> lateSequence_;        // of the reply that did not come in time
    std::vector<std::uint32_t> freeIdentifiers_;  // with room for all that were taken
    std::size_t takenIdentifiers_ = 0;
    std::vector<EventListener*> listeners_;
    std::uint32_t rootEvents_ = 0;
    bool keepsEvents_ = false;
    std::vector<Reply<xcb_generic_event_t>> events_;
};

/* A request that was sent and will be replied to. Several may be under way at once, so that they
 * cost one round trip; one that is never asked for its reply leaves nothing behind. */
template <typename T>
class Request {
  public:
    /* cookie is what the unsuffixed request function gave: such a request is always checked, its
     * error comes in place of its reply. */
    template <typename Cookie>
    Request(Connection& connection, Cookie cookie)
        : connection_(connection), sequence_(cookie.sequence) {}

    ~Request() {
        if (!taken_)
            xcb_discard_reply(connection_.handle(), sequence_);
    }

    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /* Waits for the reply; null if there is none. Once only. */
    Reply<T> take() {
        taken_ = true;
        xcb_generic_error_t* error = nullptr;
        Reply<T> reply(static_cast<T*>(connection_.await(sequence_, &error)));
        const Reply<xcb_generic_error_t> owned(error);
        errorCode_ = error == nullptr ? 0 : error->error_code;
        return reply;
    }

    /* Why take() gave null: the server's error code, or 0 if the server did not answer. */
    unsigned errorCode() const { return errorCode_; }

  private:
    Connection& connection_;
    const unsigned sequence_;
    bool taken_ = false;
    unsigned errorCode_ = 0;
};

/* Whether the server has carried out all that was asked: waits for that, bounded. */
bool hasCaughtUp(Connection& connection);

/* Whether the server carried out a request without a reply. cookie is from the _checked form. */
bool succeeded(Connection& connection, xcb_void_cookie_t cookie);

}  // namespace qor::x11
