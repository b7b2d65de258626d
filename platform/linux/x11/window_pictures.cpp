#include "x11/window_pictures.h"

#include <algorithm>
#include <deque>
#include <string_view>
#include <utility>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"
#include "x11/window_content.h"
#include "x11/window_notices.h"
#include "x11/window_shape.h"
#include "x11/window_wiping.h"

namespace qor::x11 {

using coregraphics::PixelBuffer;
using coregraphics::PixelRect;
using coregraphics::trace;

namespace {

// A window that is being resized changes more often than pictures are made.
constexpr int kMostAttempts = 8;
// So that what is sent fits into the socket even if the server reads none of it.
constexpr std::size_t kMostPartsUnderWay = 4096;

Request<xcb_intern_atom_reply_t> askAtom(Connection& connection, std::string_view name) {
    return {connection, xcb_intern_atom(connection.handle(), 0,
                                        static_cast<std::uint16_t>(name.size()), name.data())};
}

xcb_atom_t atomIn(const Reply<xcb_intern_atom_reply_t>& reply) {
    return reply == nullptr ? static_cast<xcb_atom_t>(XCB_NONE) : reply->atom;
}

std::size_t sizeOf(const PixelFormat& format, const PixelRect& area) {
    return rowBytes(format, area.width) * area.height;
}

const TopLevel* findNumber(const std::vector<TopLevel>& windows, std::uint32_t number) {
    const auto found = std::ranges::find_if(
        windows, [number](const TopLevel& top) { return top.isVisible() && top.number == number; });
    return found == windows.end() ? nullptr : &*found;
}

/* Those of the windows that have one of the numbers, the last one first. */
std::vector<TopLevel> choose(const std::vector<TopLevel>& windows,
                             const std::vector<std::uint32_t>& numbers) {
    std::vector<TopLevel> chosen;
    std::set<std::uint32_t> seen;
    for (const std::uint32_t number : numbers) {
        const TopLevel* top = findNumber(windows, number);
        if (top != nullptr && seen.insert(number).second)
            chosen.push_back(*top);
    }
    std::ranges::reverse(chosen);
    return chosen;
}

std::set<xcb_window_t> harmlessAmong(const std::vector<TopLevel>& windows,
                                     const std::vector<TopLevel>& chosen) {
    std::set<xcb_window_t> harmless;
    for (const TopLevel& top : chosen)
        harmless.insert(top.window);
    for (const TopLevel& top : windows) {
        if (!top.isOfAnApplication)
            harmless.insert(top.window);
    }
    return harmless;
}

}  // namespace

struct WindowPictures::Layer {
    TopLevel top;
    WindowShape shape;
    xcb_render_pictformat_t format = XCB_NONE;
    std::optional<WindowContent> content = {};  // null until it is drawn
    unsigned generation = 0;  // of the content, as far as notices had come when it was drawn
};

bool WindowPictures::findAtoms() {
    if (atoms_)
        return true;
    auto wmState = askAtom(connection_, "WM_STATE");
    auto check = askAtom(connection_, "_NET_SUPPORTING_WM_CHECK");
    auto embeddingInfo = askAtom(connection_, "_XEMBED_INFO");
    auto opacity = askAtom(connection_, "_NET_WM_WINDOW_OPACITY");
    auto usual = askAtom(connection_, "_XROOTPMAP_ID");
    auto older = askAtom(connection_, "ESETROOT_PMAP_ID");
    const Atoms atoms{{atomIn(wmState.take()), atomIn(check.take()), atomIn(embeddingInfo.take())},
                      atomIn(opacity.take()),
                      {atomIn(usual.take()), atomIn(older.take())}};
    if (!connection_.answers())
        return false;
    atoms_ = atoms;
    return true;
}

std::optional<std::vector<TopLevel>> WindowPictures::listWindows() {
    return findAtoms() ? listTopLevels(connection_, atoms_->manager) : std::nullopt;
}

std::optional<std::vector<std::uint32_t>> WindowPictures::numbersOnScreen() {
    const auto windows = listWindows();
    if (!windows)
        return std::nullopt;
    std::vector<std::uint32_t> numbers;
    for (const TopLevel& top : *windows) {
        if (top.isListed())
            numbers.push_back(top.number);
    }
    std::ranges::reverse(numbers);
    return numbers;
}

bool WindowPictures::isPossible() {
    if (isPossible_)
        return *isPossible_;
    const Link& link = connection_.link();
    isPossible_ = false;
    if (!link.hasWindowContents)
        trace("no pictures of windows: the server has no COMPOSITE 0.2");
    else if (link.pictureFormats.empty())
        trace("no pictures of windows: the server has no RENDER 0.10 with colours");
    else if (!link.pictureFormats.contains(connection_.screen().root_visual))
        trace("no pictures of windows: RENDER does not know the screen's pixels");
    else
        isPossible_ = true;
    return *isPossible_;
}

/* Notices are asked for before the windows are listed and kept, so that none is missed. */
bool WindowPictures::begin() {
    if (hasBegun_ || !isPossible())
        return hasBegun_;
    connection_.keepEvents(true);
    askForNotices(connection_);
    ledger_ = {};
    const auto windows = listWindows();
    if (windows) {
        for (const TopLevel& top : *windows)
            ledger_.appeared(top.window, top.box, top.isMapped);
        hasBegun_ = keepWindowContents(connection_);
    }
    if (!hasBegun_) {
        connection_.keepEvents(false);
        isPossible_ = !connection_.answers();  // a server that was busy may be asked again
        if (!*isPossible_)
            trace("no pictures of windows: the server does not keep their contents");
        return false;
    }
    takeNotices();
    ledger_.allBeginAnew();
    trace("pictures of windows: the server keeps their contents");
    return true;
}

void WindowPictures::takeNotices() {
    if (!hasBegun_)
        return;
    // Until all are in: without one that was lost because memory was short, the ledger is wrong,
    // and pictures have to begin anew.
    hasBegun_ = false;
    for (const auto& event : connection_.takeEvents())
        enter(*event, connection_.screen().root, ledger_);
    hasBegun_ = true;
}

std::optional<PixelBuffer> WindowPictures::desktopOf(const std::vector<std::uint32_t>& numbers,
                                                     const PixelRect& area,
                                                     const PixelFormat& format) {
    for (int attempt = 0; attempt < kMostAttempts && begin(); ++attempt) {
        Request<xcb_get_geometry_reply_t> rootRequest(
            connection_, xcb_get_geometry(connection_.handle(), connection_.screen().root));
        const auto windows = listWindows();
        const auto root = rootRequest.take();
        if (!windows || root == nullptr)
            return std::nullopt;
        Scene scene{.area = intersection(area, {0, 0, root->width, root->height}),
                    .chosen = choose(*windows, numbers),
                    .isDesktop = true};
        if (scene.area.empty())
            return desktopImage(area, {}, format, nullptr);
        scene.harmless = harmlessAmong(*windows, scene.chosen);
        Composed composed = compose(scene, sizeOf(format, scene.area));
        if (composed.outcome == Outcome::done)
            return desktopImage(area, scene.area, format, std::move(composed.bytes));
        if (composed.outcome == Outcome::failed)
            return std::nullopt;
    }
    return std::nullopt;
}

std::optional<PixelBuffer> WindowPictures::aloneIn(const PixelRect& area, std::uint32_t number,
                                                   const PixelFormat& format) {
    for (int attempt = 0; attempt < kMostAttempts && begin(); ++attempt) {
        const auto windows = listWindows();
        if (!windows)
            return std::nullopt;
        Scene scene{.chosen = choose(*windows, {number})};
        if (scene.chosen.empty())
            return std::nullopt;
        scene.area = intersection(area, scene.chosen.front().box);
        if (scene.area.empty())
            return desktopImage(area, {}, format, nullptr);
        scene.harmless = harmlessAmong(*windows, scene.chosen);
        Composed composed = compose(scene, sizeOf(format, scene.area));
        if (composed.outcome == Outcome::failed)
            return std::nullopt;
        if (composed.outcome == Outcome::done)
            return partsOf(desktopImage(area, scene.area, format, std::move(composed.bytes)), area,
                           composed.parts);
    }
    return std::nullopt;
}

WindowPictures::Composed WindowPictures::compose(const Scene& scene, std::size_t size) {
    auto layers = layersOf(scene);
    if (!layers)
        return {};
    const xcb_pixmap_t backdrop =
        scene.isDesktop ? findBackdrop(connection_, atoms_->backdrop) : xcb_pixmap_t{XCB_NONE};
    takeNotices();
    GrabResult grabbed;
    if (draw(scene, *layers, backdrop))
        grabbed =
            transport_.grab(canvas_->drawable(), {0, 0, scene.area.width, scene.area.height}, size);
    const bool isSound = grabbed.status == GrabStatus::done && canvas_->isSound();
    if (!isSound) {
        canvas_.reset();
        return {};
    }
    Composed composed{outcomeOf(scene, *layers), std::move(grabbed.bytes)};
    if (!layers->empty())
        composed.parts = layers->back().shape.parts;
    return composed;
}

/* Null if one of them cannot be drawn, or the server does not answer. */
std::optional<std::list<WindowPictures::Layer>> WindowPictures::layersOf(const Scene& scene) {
    std::deque<WindowShapeRequest> shapeRequests;
    for (const TopLevel& top : scene.chosen)
        shapeRequests.emplace_back(connection_, top, atoms_->opacity);
    std::list<Layer> layers;
    for (std::size_t i = 0; i < scene.chosen.size(); ++i) {
        const TopLevel& top = scene.chosen[i];
        auto shape = shapeRequests[i].take();
        if (!shape || intersection(top.box, scene.area).empty())
            continue;
        if (!scene.isDesktop)
            shape->opacity = 0xffff;
        const auto format = connection_.link().pictureFormats.find(top.visual);
        if (format == connection_.link().pictureFormats.end())
            return std::nullopt;
        Layer& layer = layers.emplace_back();
        layer.top = top;
        layer.shape = std::move(*shape);
        layer.format = format->second;
    }
    return connection_.answers() ? std::optional(std::move(layers)) : std::nullopt;
}

/* False if the server does not answer. */
bool WindowPictures::draw(const Scene& scene, std::list<Layer>& layers, xcb_pixmap_t backdrop) {
    const auto rootFormat = connection_.link().pictureFormats.at(connection_.screen().root_visual);
    if (!canvas_ || !canvas_->hasSize(scene.area.width, scene.area.height)) {
        canvas_.reset();
        canvas_.emplace(connection_, scene.area.width, scene.area.height, rootFormat);
    }
    if (scene.isDesktop)
        canvas_->beginBlack(scene.area);
    else
        canvas_->beginZero(scene.area);
    if (backdrop != XCB_NONE)
        canvas_->drawBackdrop(backdrop, rootFormat);
    std::size_t partsUnderWay = 0;
    for (Layer& layer : layers) {
        layer.generation = ledger_.generation(layer.top.window, layer.top.box);
        // Named after the notices were taken in: this pixmap is as new as the ledger, or newer.
        layer.content.emplace(connection_, layer.top.window, layer.format);
        const auto residue = ledger_.residueIn(layer.top.window, scene.isLeftOut());
        if (!residue.empty())
            wipe(connection_, layer.top, residue, *layer.content);
        canvas_->draw(layer.top, layer.shape, *layer.content);
        partsUnderWay += layer.shape.parts.size();
        if (partsUnderWay < kMostPartsUnderWay)
            continue;
        if (!hasCaughtUp(connection_))
            return false;
        partsUnderWay = 0;
    }
    return true;
}

WindowPictures::Outcome WindowPictures::outcomeOf(const Scene& scene, std::list<Layer>& layers) {
    // What changed before the picture was read has been told by now.
    takeNotices();
    Outcome outcome = Outcome::done;
    for (Layer& layer : layers) {
        const auto drawn = layer.content->outcome();
        if (drawn == WindowContent::Outcome::failed || connection_.isLost())
            return Outcome::failed;
        if (drawn == WindowContent::Outcome::done) {
            ledger_.cleaned(layer.top.window, layer.generation, scene.isLeftOut());
            if (!ledger_.residueIn(layer.top.window, scene.isLeftOut()).empty())
                outcome = Outcome::changed;
        } else if (!scene.isDesktop) {
            outcome = Outcome::changed;
        }
    }
    ledger_.endRound();
    return outcome;
}

}  // namespace qor::x11
