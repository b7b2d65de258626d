/*
 * Pictures of chosen windows, each with its own content, whatever covers it.
 *
 * From the first one on, the server keeps each window's content (COMPOSITE), until the connection
 * ends. For a picture, the contents are drawn on a canvas in the server (RENDER), which is then
 * read like the screen.
 *
 * No picture shows a pixel of a window that was not chosen. What makes that hold: only contents of
 * chosen windows are drawn; what other windows may have left in them is wiped out first; and the
 * server's notices that came while the picture was made tell whether anything changed that. If it
 * did, the picture is dropped and made again.
 */
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/backdrop.h"
#include "x11/canvas.h"
#include "x11/connection.h"
#include "x11/image_transport.h"
#include "x11/pixel_format.h"
#include "x11/residue_ledger.h"
#include "x11/top_levels.h"

namespace qor::x11 {

class WindowPictures {
  public:
    WindowPictures(Connection& connection, ImageTransport& transport)
        : connection_(connection), transport_(transport) {}

    /* The windows on screen, by number, front to back. */
    std::optional<std::vector<std::uint32_t>> numbersOnScreen();

    /* An area of the root window with the given windows, the first one on top, and no others. */
    std::optional<coregraphics::PixelBuffer> desktopOf(const std::vector<std::uint32_t>& numbers,
                                                       const coregraphics::PixelRect& area,
                                                       const PixelFormat& format);

    /* An area of the root window, zero but for one window; null if that is not on screen. */
    std::optional<coregraphics::PixelBuffer> aloneIn(const coregraphics::PixelRect& area,
                                                     std::uint32_t number,
                                                     const PixelFormat& format);

    /* Takes in the notices that have come, which would pile up otherwise. */
    void takeNotices();

  private:
    struct Atoms {
        ManagerAtoms manager;
        xcb_atom_t opacity = XCB_NONE;
        BackdropProperties backdrop;
    };
    /* What a picture is to show. */
    struct Scene {
        coregraphics::PixelRect area = {};     // of the root window, not empty
        std::vector<TopLevel> chosen;          // the lowest first
        std::set<xcb_window_t> harmless = {};  // whose pixels may be seen, if they have any
        bool isDesktop = false;  // with the backdrop, and windows no denser than they are

        ResidueLedger::Predicate isLeftOut() const {
            return [this](xcb_window_t window) { return !harmless.contains(window); };
        }
    };
    struct Layer;
    enum class Outcome { done, changed, failed };
    struct Composed {
        Outcome outcome = Outcome::failed;
        std::shared_ptr<std::byte> bytes = nullptr;       // if done
        std::vector<coregraphics::PixelRect> parts = {};  // that the top window covers
    };

    bool findAtoms();
    bool isPossible();
    bool begin();
    std::optional<std::vector<TopLevel>> listWindows();
    Composed compose(const Scene& scene, std::size_t size);
    std::optional<std::list<Layer>> layersOf(const Scene& scene);
    bool draw(const Scene& scene, std::list<Layer>& layers, xcb_pixmap_t backdrop);
    Outcome outcomeOf(const Scene& scene, std::list<Layer>& layers);

    Connection& connection_;
    ImageTransport& transport_;
    std::optional<Atoms> atoms_;
    std::optional<bool> isPossible_;  // null until it is known
    bool hasBegun_ = false;
    ResidueLedger ledger_;
    std::optional<Canvas> canvas_;  // kept from picture to picture
};

}  // namespace qor::x11
