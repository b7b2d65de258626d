#include "x11/window_composer.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <utility>

#include "x11/desktop_image.h"
#include "x11/window_content.h"
#include "x11/window_shape.h"
#include "x11/window_wiping.h"

namespace qor::x11 {

using coregraphics::PixelBuffer;
using coregraphics::PixelRect;

namespace {

// So that what is sent fits into the socket even if the server reads none of it.
constexpr std::size_t kMostPartsUnderWay = 4096;

/* From a window's own coordinates, whose origin is within its border. */
PixelRect onRoot(const PixelRect& inWindow, const TopLevel& top) {
    return {inWindow.x + top.box.x + top.border, inWindow.y + top.box.y + top.border,
            inWindow.width, inWindow.height};
}

}  // namespace

struct WindowComposer::Layer {
    TopLevel top;
    WindowShape shape;
    PictureFormat format;
    std::optional<WindowContent> content = {};  // null until it is drawn
    unsigned generation = 0;  // of the content, as far as notices had come when it was drawn
};

/* Where the server shows the windows, what is behind them is the root window's background. */
void WindowComposer::keepBackground(const WindowStack& stack) {
    const PixelRect& root = stack.root;
    const bool isKept = background_ && background_->hasSize(root.width, root.height);
    if (isKept && !stack.isComposited)
        return;
    background_.reset();
    if (!stack.isComposited)
        background_.emplace(connection_, root.width, root.height);
}

PixelRect WindowComposer::drawnIn(const TopLevel& top) const {
    return onRoot(contents_.drawnIn(top.window), top);
}

PixelRect WindowComposer::missedIn(const TopLevel& top) const {
    return onRoot(contents_.missedIn(top.window), top);
}

WindowComposer::Composed WindowComposer::compose(const Scene& scene) {
    auto layers = layersOf(scene);
    if (!layers)
        return {};
    windows_.takeNotices();
    beginCanvas(scene);
    Composed composed;
    const bool isRead = draw(scene, *layers) && read(scene, composed.parts);
    if (!isRead || !canvas_->isSound()) {
        canvas_.reset();
        return {};
    }
    composed.outcome = outcomeOf(scene, *layers);
    return composed;
}

/* Null if one of them cannot be drawn, or the server does not answer. */
std::optional<std::list<WindowComposer::Layer>> WindowComposer::layersOf(const Scene& scene) {
    std::vector<TopLevel> seen;
    std::ranges::copy_if(scene.chosen, std::back_inserter(seen), [&scene](const TopLevel& top) {
        return std::ranges::any_of(scene.parts, [&top](const PixelRect& part) {
            return !intersection(top.box, part).empty();
        });
    });
    std::deque<WindowShapeRequest> shapeRequests;
    for (const TopLevel& top : seen)
        shapeRequests.emplace_back(connection_, top, windows_.atoms().opacity);
    const auto& formats = connection_.link().pictureFormats.byVisual;
    std::list<Layer> layers;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        auto shape = shapeRequests[i].take();
        if (!shape)
            continue;
        const auto format = formats.find(seen[i].visual);
        if (format == formats.end())
            return std::nullopt;
        Layer& layer = layers.emplace_back();
        layer.top = seen[i];
        layer.shape = std::move(*shape);
        layer.format = format->second;
    }
    return connection_.answers() ? std::optional(std::move(layers)) : std::nullopt;
}

void WindowComposer::beginCanvas(const Scene& scene) {
    if (!canvas_ || !canvas_->hasSize(scene.area.width, scene.area.height)) {
        canvas_.reset();
        canvas_.emplace(connection_, scene.area.width, scene.area.height);
    }
    if (!scene.isDesktop)
        return canvas_->beginZero(scene.area, scene.parts);
    canvas_->beginBlack(scene.area, scene.parts);
    if (background_)
        return background_->drawOn(*canvas_, scene.parts);
    const xcb_pixmap_t backdrop = findBackdrop(connection_, windows_.atoms().backdrop);
    if (backdrop != XCB_NONE)
        drawBackdrop(connection_, backdrop, *canvas_);
}

/* False if the server does not answer. */
bool WindowComposer::draw(const Scene& scene, std::list<Layer>& layers) {
    std::size_t partsUnderWay = 0;
    for (Layer& layer : layers) {
        layer.generation = windows_.ledger().generation(layer.top.window, layer.top.box);
        // Named after the notices were taken in: this pixmap is as new as the ledger, or newer.
        contents_.use(layer.top.window, layer.generation);
        layer.content.emplace(connection_, layer.top.window, layer.format.id);
        const auto residue = windows_.ledger().residueIn(layer.top.window, scene.isLeftOut());
        if (!residue.empty())
            wipe(connection_, layer.top, layer.shape, residue, *layer.content);
        canvas_->draw(layer.top.box, layer.shape, layer.format, scene.laying, *layer.content);
        partsUnderWay += layer.shape.parts.size() * scene.parts.size();
        if (partsUnderWay < kMostPartsUnderWay)
            continue;
        if (!hasCaughtUp(connection_))
            return false;
        partsUnderWay = 0;
    }
    return true;
}

/* False if the canvas cannot be read. */
bool WindowComposer::read(const Scene& scene, std::vector<PixelBuffer>& parts) {
    const PixelFormat format = canvas_->pixelFormat();
    for (const PixelRect& part : scene.parts) {
        GrabResult grabbed = transport_.grab(canvas_->drawable(), canvas_->onCanvas(part),
                                             rowBytes(format, part.width) * part.height);
        if (grabbed.status != GrabStatus::done)
            return false;
        parts.push_back(desktopImage(part, part, format, std::move(grabbed.bytes)));
    }
    return true;
}

Outcome WindowComposer::outcomeOf(const Scene& scene, std::list<Layer>& layers) {
    // What changed before the picture was read has been told by now.
    windows_.takeNotices();
    // That windows move does not matter here: the ledger knows what that means for their contents.
    Outcome outcome = windows_.isMistaken() ? Outcome::changed : Outcome::done;
    if (scene.isDesktop && background_ && background_->outcome() != WindowContent::Outcome::done) {
        background_.reset();  // somebody has closed its window
        outcome = Outcome::changed;
    }
    for (Layer& layer : layers) {
        const auto drawn = layer.content->outcome();
        if (drawn == WindowContent::Outcome::failed || connection_.isLost())
            return Outcome::failed;
        if (drawn == WindowContent::Outcome::done) {
            windows_.ledger().cleaned(layer.top.window, layer.generation, scene.isLeftOut());
            if (!windows_.ledger().residueIn(layer.top.window, scene.isLeftOut()).empty())
                outcome = Outcome::changed;
        } else if (!scene.isDesktop) {
            outcome = Outcome::changed;
        }
    }
    windows_.ledger().endRound();
    return outcome;
}

}  // namespace qor::x11
