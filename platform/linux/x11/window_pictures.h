/*
 * Pictures of chosen windows, each with its own content, whatever covers it.
 *
 * From the first one on, the server keeps each window's content (COMPOSITE), until the connection
 * ends. For a picture, the contents are drawn on a canvas in the server (RENDER), which is then
 * read like the screen.
 *
 * Where the server itself shows the windows and little is left out, the screen is read instead, and
 * only what a left-out window may have on it is drawn. Where a compositing manager shows them, all
 * is drawn: what that puts on the screen, and where, cannot be known.
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
#include "x11/residue_ledger.h"
#include "x11/root_background.h"
#include "x11/screen_content.h"
#include "x11/top_levels.h"

namespace qor::x11 {

class WindowPictures {
  public:
    WindowPictures(Connection& connection, ImageTransport& transport, ScreenContent& screenContent)
        : connection_(connection), transport_(transport), screenContent_(screenContent) {}

    /* All windows on screen and off, with what is known of them. */
    std::optional<WindowStack> listWindows();

    /* The windows on screen, by number, front to back. */
    std::optional<std::vector<std::uint32_t>> numbersOnScreen();

    /* An area of the root window with the given windows, the first one on top, and no others. */
    std::optional<coregraphics::PixelBuffer> desktopOf(const std::vector<std::uint32_t>& numbers,
                                                       const coregraphics::PixelRect& area);

    /* An area of the root window, zero but for one window. While that is not on screen, but still
     * there, its last picture, if that was of the same area; null if there is none. */
    std::optional<coregraphics::PixelBuffer> aloneIn(const coregraphics::PixelRect& area,
                                                     std::uint32_t number);

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
        coregraphics::PixelRect area = {};                // of the root window, not empty
        std::vector<coregraphics::PixelRect> parts = {};  // of it, that are to be drawn
        std::vector<TopLevel> chosen = {};                // the lowest first
        std::set<xcb_window_t> harmless = {};  // whose pixels may be seen, if they have any
        bool isDesktop = false;                // with what is behind the windows
        Laying laying = Laying::replacing;

        ResidueLedger::Predicate isLeftOut() const {
            return [this](xcb_window_t window) { return !harmless.contains(window); };
        }
    };
    struct Layer;
    enum class Outcome { done, changed, failed };
    struct Composed {
        Outcome outcome = Outcome::failed;
        std::vector<coregraphics::PixelBuffer> parts = {};  // if done, in the scene's order
    };
    struct Picture {
        Outcome outcome = Outcome::failed;
        coregraphics::PixelBuffer pixels = {};  // of the whole area, if done
    };
    struct LastPicture {
        std::uint32_t number = 0;
        coregraphics::PixelRect area;
        coregraphics::PixelBuffer pixels;
    };

    bool findAtoms();
    bool isPossible();
    bool begin();
    void noteCompositing(const WindowStack& stack);
    void keepBackground(const WindowStack& stack);
    bool isPatchable(const WindowStack& stack);
    Picture composedDesktop(const coregraphics::PixelRect& area, Scene scene);
    Picture patchedDesktop(const coregraphics::PixelRect& area, Scene scene, unsigned changes);
    Composed compose(const Scene& scene);
    std::optional<std::list<Layer>> layersOf(const Scene& scene);
    void beginCanvas(const Scene& scene);
    bool draw(const Scene& scene, std::list<Layer>& layers);
    bool read(const Scene& scene, std::vector<coregraphics::PixelBuffer>& parts);
    Outcome outcomeOf(const Scene& scene, std::list<Layer>& layers);
    std::optional<coregraphics::PixelBuffer> lastOf(const coregraphics::PixelRect& area,
                                                    std::uint32_t number);

    Connection& connection_;
    ImageTransport& transport_;
    ScreenContent& screenContent_;
    std::optional<Atoms> atoms_;
    std::optional<bool> isPossible_;  // null until it is known
    bool hasBegun_ = false;
    ResidueLedger ledger_;
    unsigned changes_ = 0;                      // that notices have told of
    bool wasComposited_ = false;                // a compositing manager was seen on this connection
    std::optional<RootBackground> background_;  // null where a compositing manager runs
    std::optional<Canvas> canvas_;              // kept from picture to picture
    std::optional<LastPicture> last_;
};

}  // namespace qor::x11
