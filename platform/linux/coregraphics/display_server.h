/*
 * What the API needs of a display server: the seam between the API's semantics and the server's
 * protocol.
 *
 * Each thread has a server connection of its own, so that captures on different threads never wait
 * for each other; no implementation needs a lock. A connection is made by the first call of a
 * thread, ends with the thread, and is replaced by the next call after it was lost. After a fork
 * the child makes its own.
 *
 * Waits for the server are bounded, so every call comes back. A null image or optional says that
 * the server could not be asked; an empty list or string that it was asked and has none.
 *
 * Images are finished when they are handed out. While nothing changed the same one may be handed
 * out again, and the memory of one is written again only when nobody holds any part of it.
 */
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "coregraphics/image.h"
#include "coregraphics/pixel_buffer.h"
#include "coregraphics/thread_guards.h"

namespace qor::coregraphics {

struct Display {
    std::uint32_t id = 0;  // never 0; the same as long as the output exists
    PixelRect bounds;
    double refreshRate = 0;  // a second; 0 if unknown
    unsigned depth = 0;      // significant bits of a frame-buffer pixel
};

/* What a window is to its user. */
enum class WindowRole {
    normal,
    floating,  // tools, and windows that are kept above others
    panel,     // at an edge of the screen, for as long as the desktop
    popup,     // menus, tooltips, notices
    desktop,   // behind all others
};

/* A window on screen, as the application that it belongs to describes it. */
struct WindowDescription {
    std::uint32_t number = 0;  // that applications know it by
    PixelRect box;             // with its frame
    WindowRole role = WindowRole::normal;
    double opacity = 1;          // 0 to 1
    std::int32_t processId = 0;  // 0 if it is not told
    std::string application;     // UTF-8 without control characters; empty if it is not told
    std::string title;           // the same
};

/* Busy: it does not answer at present, so calls fail, but the connection stands. */
enum class ServerState { ready, busy, lost };

class DisplayServer {
  public:
    virtual ~DisplayServer() = default;

    /* Takes in what the server sent meanwhile. The questions below need a ready server. */
    virtual ServerState refresh() = 0;

    /* Gives the connection up without a word to the server: it belongs to the parent process. */
    virtual void abandon() noexcept = 0;

    /* Active displays, the main one first. */
    virtual std::optional<std::vector<Display>> displays() = 0;

    /* A display's product name in UTF-8, empty if it has none; null for an unknown display too. */
    virtual std::optional<std::string> displayName(std::uint32_t displayId) = 0;

    /* The present pixels of an area of the desktop, zero where it reaches past it. */
    virtual ImageReference grab(const PixelRect& area) = 0;

    /* The windows that are on screen, by the numbers that applications know them by, front to
     * back. */
    virtual std::optional<std::vector<std::uint32_t>> windowsOnScreen() = 0;

    /* The same windows with what is known of them. */
    virtual std::optional<std::vector<WindowDescription>> windowDescriptions() = 0;

    /* An area of the desktop as it would be with the given windows only, the first one on top, each
     * with its own content, covered or not; zero where it reaches past the desktop. Numbers of no
     * window on screen are left out. No pixel of any other window is ever in it: null if that
     * cannot be made sure of, or the server cannot draw windows by themselves. */
    virtual ImageReference grabWindows(const PixelRect& area,
                                       const std::vector<std::uint32_t>& windows) = 0;

    /* One window with its frame, at its place in the area, whole even where it reaches past the
     * screen; zero elsewhere. The same holds as above; null too if it is not on screen. */
    virtual ImageReference grabWindow(const PixelRect& area, std::uint32_t window) = 0;
};

/* Begins a connection to the server that the environment names. Null if it names none. The display
 * server that is built in defines this. */
std::unique_ptr<DisplayServer> connectDisplayServer();

/* The calling thread's server, connected if need be; null if there is none to be had. */
DisplayServer* threadDisplayServer();

/* Asks the calling thread's server. Gives onFailure if there is no server or memory is short:
 * nothing is thrown, and neither a failed write's signal nor a cancellation of the thread gets in
 * between. */
template <typename Result, typename Question>
Result askServer(Result onFailure, Question question) noexcept {
    const CancellationHeld cancellationHeld;
    const WriteSignalsHeld writeSignalsHeld;
    try {
        DisplayServer* server = threadDisplayServer();
        return server == nullptr ? std::move(onFailure) : question(*server);
    } catch (const std::exception&) {
        return onFailure;
    }
}

/* The display with the given identifier, if it is active now. */
std::optional<Display> findDisplay(std::uint32_t displayId) noexcept;

}  // namespace qor::coregraphics
