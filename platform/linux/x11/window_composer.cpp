#include "x11/window_composer.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <tuple>
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

struct WindowComposer::Layers {
    std::list<Layer> all;      // the lowest first
    bool isAllFilled = false;  // by the lowest one, so that what is behind it is not drawn
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

WindowComposer::Composed WindowComposer::compose(const Scene& scene, const Target& target) {
    auto layers = layersOf(scene);
    if (!layers)
        return {Outcome::failed, false};
    windows_.takeNotices();
    if (target.memory.picture == XCB_NONE)
        return composeApart(scene, *layers, target);
    Canvas canvas(connection_, *target.memory.segment);
    begin(canvas, scene, *layers, target.area);
    const bool isDrawn = draw(canvas, scene, *layers) && hasCaughtUp(connection_);
    return isDrawn && canvas.isSound() ? outcomeOf(scene, *layers) : Composed{};
}

/* Where the server cannot draw on the image. */
WindowComposer::Composed WindowComposer::composeApart(const Scene& scene, Layers& layers,
                                                      const Target& target) {
    if (!canvas_ || !canvas_->hasSize(scene.area.width, scene.area.height)) {
        canvas_.reset();
        canvas_.emplace(connection_, scene.area.width, scene.area.height);
    }
    begin(*canvas_, scene, layers, scene.area);
    // What is read goes to the image only once it is known to be right.
    std::vector<PixelBuffer> parts;
    const bool isRead = draw(*canvas_, scene, layers) && read(scene, parts);
    if (!isRead || !canvas_->isSound()) {
        canvas_.reset();
        return {Outcome::failed, false};
    }
    Composed composed = outcomeOf(scene, layers);
    composed.isTouched = composed.outcome == Outcome::done;
    for (std::size_t i = 0; composed.isTouched && i < parts.size(); ++i)
        put(parts[i], scene.parts[i], target.area, target.memory.pixels);
    return composed;
}

/* Null if one of them cannot be drawn, or the server does not answer. */
std::optional<WindowComposer::Layers> WindowComposer::layersOf(const Scene& scene) {
    std::vector<TopLevel> seen;
    std::ranges::copy_if(scene.chosen, std::back_inserter(seen), [&scene](const TopLevel& top) {
        return std::ranges::any_of(scene.parts, [&top](const PixelRect& part) {
            return !intersection(top.box, part).empty();
        });
    });
    askShapes(seen);
    const auto& formats = connection_.link().pictureFormats.byVisual;
    Layers layers;
    for (const TopLevel& top : seen) {
        const auto shape = shapes_.find(top.window);
        if (shape == shapes_.end())
            continue;
        const auto format = formats.find(top.visual);
        if (format == formats.end())
            return std::nullopt;
        const bool isFilling = scene.laying != Laying::blending && shape->second.isWhole &&
                               std::ranges::all_of(scene.parts, [&top](const PixelRect& part) {
                                   return intersection(top.box, part) == part;
                               });
        if (isFilling)
            layers.all.clear();
        layers.isAllFilled |= isFilling;
        Layer& layer = layers.all.emplace_back();
        layer.top = top;
        layer.shape = shape->second;
        layer.format = format->second;
    }
    return connection_.answers() ? std::optional(std::move(layers)) : std::nullopt;
}

/* They are known until a notice tells that anything looks otherwise, where there are notices.
 * Windows that have gone have none. */
void WindowComposer::askShapes(const std::vector<TopLevel>& tops) {
    if (!windows_.tellsOfAllChanges() || windows_.looks() != shapesAreOf_)
        shapes_.clear();
    shapesAreOf_ = windows_.looks();
    std::deque<std::pair<xcb_window_t, WindowShapeRequest>> requests;
    for (const TopLevel& top : tops) {
        if (!shapes_.contains(top.window))
            requests.emplace_back(
                std::piecewise_construct, std::forward_as_tuple(top.window),
                std::forward_as_tuple(connection_, top, windows_.atoms().opacity));
    }
    for (auto& [window, request] : requests) {
        if (auto shape = request.take())
            shapes_.emplace(window, std::move(*shape));
    }
}

void WindowComposer::begin(Canvas& canvas, const Scene& scene, const Layers& layers,
                           const PixelRect& area) {
    // If the window that fills it has just gone, what was there stays.
    if (layers.isAllFilled)
        return canvas.beginAsIs(area, scene.parts);
    if (!scene.isDesktop)
        return canvas.beginZero(area, scene.parts);
    canvas.beginBlack(area, scene.parts);
    if (background_)
        return background_->drawOn(canvas, scene.parts);
    const xcb_pixmap_t backdrop = findBackdrop(connection_, windows_.atoms().backdrop);
    if (backdrop != XCB_NONE)
        drawBackdrop(connection_, backdrop, canvas);
}

/* False if the server does not answer. */
bool WindowComposer::draw(Canvas& canvas, const Scene& scene, Layers& layers) {
    std::size_t partsUnderWay = 0;
    for (Layer& layer : layers.all) {
        layer.generation = windows_.ledger().generation(layer.top.window, layer.top.box);
        // Named after the notices were taken in: this pixmap is as new as the ledger, or newer.
        contents_.use(layer.top.window, layer.generation);
        layer.content.emplace(connection_, layer.top.window, layer.format.id);
        const auto residue = windows_.ledger().residueIn(layer.top.window, scene.isLeftOut());
        if (!residue.empty())
            wipe(connection_, layer.top, layer.shape, residue, *layer.content);
        canvas.draw(layer.top.box, layer.shape, layer.format, scene.laying, *layer.content);
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

WindowComposer::Composed WindowComposer::outcomeOf(const Scene& scene, Layers& layers) {
    // What changed before the picture was read has been told by now.
    windows_.takeNotices();
    // That windows move does not matter here: the ledger knows what that means for their contents.
    Outcome outcome = windows_.isMistaken() ? Outcome::changed : Outcome::done;
    bool isTouched = !layers.isAllFilled;
    if (scene.isDesktop && !layers.isAllFilled && background_ &&
        background_->outcome() != WindowContent::Outcome::done) {
        background_.reset();  // somebody has closed its window
        outcome = Outcome::changed;
    }
    for (Layer& layer : layers.all) {
        const auto drawn = layer.content->outcome();
        if (drawn == WindowContent::Outcome::failed || connection_.isLost())
            return {};
        if (drawn == WindowContent::Outcome::done) {
            isTouched = true;
            windows_.ledger().cleaned(layer.top.window, layer.generation, scene.isLeftOut());
            if (!windows_.ledger().residueIn(layer.top.window, scene.isLeftOut()).empty())
                outcome = Outcome::changed;
        } else if (!scene.isDesktop || (layers.isAllFilled && &layer == &layers.all.front())) {
            outcome = Outcome::changed;  // zeros, or what was there, where the window was
        }
    }
    windows_.ledger().endRound();
    return {outcome, isTouched};
}

}  // namespace qor::x11
