/*
 * Drawing windows one over the other, each with its own content, whatever covers it.
 *
 * The contents are drawn (RENDER) on the image itself where the server shares its memory, else on a
 * canvas in the server, which is then read like the screen. No picture shows a pixel of a window
 * that was not chosen. What makes that hold: only contents of chosen windows are drawn; what other
 * windows may have left in them is wiped out first; and the server's notices that came while the
 * picture was made tell whether anything changed that.
 */
#pragma once

#include <list>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/canvas.h"
#include "x11/connection.h"
#include "x11/content_watches.h"
#include "x11/image_memory.h"
#include "x11/image_transport.h"
#include "x11/known_windows.h"
#include "x11/root_background.h"
#include "x11/top_levels.h"
#include "x11/window_shape.h"

namespace qor::x11 {

/* What a picture is to show. */
struct Scene {
    coregraphics::PixelRect area = {};                // of the root window, not empty
    std::vector<coregraphics::PixelRect> parts = {};  // of it, that are to be drawn
    std::vector<TopLevel> chosen = {};                // the lowest first
    std::set<xcb_window_t> harmless = {};             // whose pixels may be seen, if they have any
    bool isDesktop = false;                           // with what is behind the windows
    Laying laying = Laying::replacing;

    ResidueLedger::Predicate isLeftOut() const {
        return [this](xcb_window_t window) { return !harmless.contains(window); };
    }
};

enum class Outcome {
    done,
    changed,  // the windows did meanwhile: dropped, and to be made again
    failed,
};

class WindowComposer {
  public:
    /* An image that a scene is drawn on, of an area of the root window that the scene's lies in. */
    struct Target {
        const ImageMemory& memory;
        coregraphics::PixelRect area;
    };
    struct Composed {
        Outcome outcome = Outcome::failed;
        bool isTouched = true;  // if it is not done: the scene's parts may show anything
    };

    WindowComposer(Connection& connection, ImageTransport& transport, KnownWindows& windows)
        : connection_(connection),
          transport_(transport),
          windows_(windows),
          contents_(connection) {}

    /* What is behind the windows of that list, from now on. */
    void keepBackground(const WindowStack& stack);

    /* Whether the server shows a background where there is no window. After keepBackground(), where
     * no compositing manager runs. */
    bool isBackgroundDefined() { return background_->isDefined(); }

    /* The pictures that follow are parts of one of the given windows, until the next call. */
    void beginPicture(const std::vector<TopLevel>& chosen) { contents_.beginPicture(chosen); }

    /* Draws the parts of a scene on an image that nobody sees. Takes notices in before and after.
     */
    Composed compose(const Scene& scene, const Target& target);

    /* Where a window was drawn to since its content was used for the picture, or was told too late
     * before that, on the root window. */
    coregraphics::PixelRect drawnIn(const TopLevel& top) const;
    coregraphics::PixelRect missedIn(const TopLevel& top) const;

    /* Whether no content was drawn to since it was used for the picture. */
    bool areContentsUnchanged() const { return contents_.areUnchanged(); }

  private:
    struct Layer;
    struct Layers;

    std::optional<Layers> layersOf(const Scene& scene);
    void askShapes(const std::vector<TopLevel>& tops);
    Composed composeApart(const Scene& scene, Layers& layers, const Target& target);
    void begin(Canvas& canvas, const Scene& scene, const Layers& layers,
               const coregraphics::PixelRect& area);
    bool draw(Canvas& canvas, const Scene& scene, Layers& layers);
    bool read(const Scene& scene, std::vector<coregraphics::PixelBuffer>& parts);
    Composed outcomeOf(const Scene& scene, Layers& layers);

    Connection& connection_;
    ImageTransport& transport_;
    KnownWindows& windows_;
    ContentWatches contents_;
    std::optional<RootBackground> background_;  // null where a compositing manager runs
    std::optional<Canvas> canvas_;              // kept, where the server cannot draw on images
    std::map<xcb_window_t, WindowShape> shapes_;
    unsigned shapesAreOf_ = 0;  // looks that had been told of
};

}  // namespace qor::x11
