#include "x11/window_pictures.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "coregraphics/trace.h"
#include "x11/atoms.h"
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
// A picture made of the screen has to be dropped for more reasons than one that is drawn.
constexpr int kMostPatchedAttempts = 2;
// Patches are read one by one.
constexpr std::size_t kMostPatches = 6;
// The shades and fades that compositing managers come with are shorter and narrower.
constexpr ResidueLedger::Afterglow kCompositedAfterglow{std::chrono::milliseconds(1000), 64};
// So that what is sent fits into the socket even if the server reads none of it.
constexpr std::size_t kMostPartsUnderWay = 4096;

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

/* Whether the chosen windows lie on each other as they do on screen. */
bool areStacked(const std::vector<TopLevel>& chosen, const std::vector<TopLevel>& windows) {
    auto place = windows.begin();
    return std::ranges::all_of(chosen, [&](const TopLevel& top) {
        place = std::ranges::find(place, windows.end(), top.window, &TopLevel::window);
        return place != windows.end();
    });
}

std::set<xcb_window_t> harmlessAmong(const std::vector<TopLevel>& windows,
                                     const std::vector<TopLevel>& chosen) {
    std::set<xcb_window_t> harmless;
    for (const TopLevel& top : chosen)
        harmless.insert(top.window);
    for (const TopLevel& top : windows) {
        if (top.isForInputOnly)
            harmless.insert(top.window);
    }
    return harmless;
}

std::uint64_t pixelsIn(const PixelRect& rect) {
    return std::uint64_t{rect.width} * rect.height;
}

/* The parts of an area that cover all that the given ones have in it, few and apart from each
 * other. */
std::vector<PixelRect> patchesOf(const std::vector<PixelRect>& shown, const PixelRect& area) {
    std::vector<PixelRect> patches;
    for (const PixelRect& part : shown) {
        PixelRect patch = intersection(part, area);
        if (patch.empty())
            continue;
        // One that grew may overlap others that it did not before.
        for (auto other = patches.begin(); other != patches.end();) {
            if (intersection(*other, patch).empty() && patches.size() < kMostPatches) {
                ++other;
                continue;
            }
            patch = around(*other, patch);
            patches.erase(other);
            other = patches.begin();
        }
        patches.push_back(patch);
    }
    return patches;
}

/* Whether drawing the parts, on top of reading the area, is more work than drawing all of it. */
bool isLarge(const std::vector<PixelRect>& parts, const PixelRect& area) {
    std::uint64_t pixels = 0;
    for (const PixelRect& part : parts)
        pixels += pixelsIn(part);
    return 2 * pixels > pixelsIn(area);
}

}  // namespace

struct WindowPictures::Layer {
    TopLevel top;
    WindowShape shape;
    PictureFormat format;
    std::optional<WindowContent> content = {};  // null until it is drawn
    unsigned generation = 0;  // of the content, as far as notices had come when it was drawn
};

bool WindowPictures::findAtoms() {
    if (atoms_)
        return true;
    const std::string compositor = "_NET_WM_CM_S" + std::to_string(connection_.link().screenNumber);
    Atoms atoms;
    ManagerAtoms& manager = atoms.manager;
    const std::vector<std::pair<std::string_view, xcb_atom_t*>> wanted{
        {"WM_STATE", &manager.state},
        {"_NET_SUPPORTING_WM_CHECK", &manager.check},
        {"_XEMBED_INFO", &manager.embeddingInfo},
        {compositor, &manager.compositor},
        {"_NET_WM_STATE", &manager.netState},
        {"_NET_WM_STATE_HIDDEN", &manager.hidden},
        {"_NET_WM_STATE_SHADED", &manager.shaded},
        {"_NET_WM_WINDOW_OPACITY", &atoms.opacity},
        {"_XROOTPMAP_ID", &atoms.backdrop.usual},
        {"ESETROOT_PMAP_ID", &atoms.backdrop.older}};
    std::vector<std::string_view> names;
    for (const auto& [name, place] : wanted)
        names.push_back(name);
    const auto found = x11::findAtoms(connection_, names);
    if (!found)
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        *wanted[i].second = (*found)[i];
    atoms_ = atoms;
    return true;
}

std::optional<WindowStack> WindowPictures::listWindows() {
    return findAtoms() ? listTopLevels(connection_, atoms_->manager) : std::nullopt;
}

std::optional<std::vector<std::uint32_t>> WindowPictures::numbersOnScreen() {
    const auto stack = listWindows();
    if (!stack)
        return std::nullopt;
    std::vector<std::uint32_t> numbers;
    for (const TopLevel& top : stack->windows) {
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
    else if (link.pictureFormats.argb == XCB_NONE)
        trace("no pictures of windows: the server has no RENDER 0.10 with colours");
    else if (!link.pictureFormats.byVisual.contains(connection_.screen().root_visual))
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
    const auto stack = listWindows();
    if (stack) {
        for (const TopLevel& top : stack->windows)
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
    ledger_.advanceTo(ResidueLedger::Clock::now());
    for (const auto& event : connection_.takeEvents())
        changes_ += enter(*event, connection_.screen().root, ledger_) ? 1U : 0U;
    hasBegun_ = true;
}

void WindowPictures::noteCompositing(const WindowStack& stack) {
    if (!stack.isComposited)
        return;
    wasComposited_ = true;
    background_.reset();
    ledger_.setAfterglow(kCompositedAfterglow);
}

/* Where the server shows the windows, what is behind them is the root window's background. */
void WindowPictures::keepBackground(const WindowStack& stack) {
    const PixelRect& root = stack.root;
    if (stack.isComposited || (background_ && background_->hasSize(root.width, root.height)))
        return;
    background_.reset();
    background_.emplace(connection_, root.width, root.height);
}

/* Whether it can be known where on the screen there may be pixels of a window. What a compositing
 * manager that has ended left there cannot. */
bool WindowPictures::isPatchable(const WindowStack& stack) {
    return !stack.isComposited && !wasComposited_ && background_->isDefined();
}

std::optional<PixelBuffer> WindowPictures::desktopOf(const std::vector<std::uint32_t>& numbers,
                                                     const PixelRect& area) {
    for (int attempt = 0; attempt < kMostAttempts && begin(); ++attempt) {
        takeNotices();
        const unsigned changes = changes_;
        const auto stack = listWindows();
        if (!stack)
            return std::nullopt;
        noteCompositing(*stack);
        keepBackground(*stack);
        Scene scene{.area = intersection(area, stack->root),
                    .chosen = choose(stack->windows, numbers),
                    .isDesktop = true,
                    .laying = stack->isComposited ? Laying::blending : Laying::covering};
        scene.harmless = harmlessAmong(stack->windows, scene.chosen);
        const bool isPatched = attempt < kMostPatchedAttempts && isPatchable(*stack) &&
                               areStacked(scene.chosen, stack->windows);
        Picture picture = isPatched ? patchedDesktop(area, std::move(scene), changes)
                                    : composedDesktop(area, std::move(scene));
        if (picture.outcome == Outcome::done)
            return std::move(picture.pixels);
        if (picture.outcome == Outcome::failed)
            return std::nullopt;
    }
    return std::nullopt;
}

WindowPictures::Picture WindowPictures::composedDesktop(const PixelRect& area, Scene scene) {
    if (scene.area.empty())
        return {Outcome::done, desktopImage(area, {}, {}, nullptr)};
    scene.parts = {scene.area};
    Composed composed = compose(scene);
    if (composed.outcome != Outcome::done)
        return {composed.outcome};
    if (scene.area == area)
        return {Outcome::done, std::move(composed.parts.front())};
    PixelBuffer image = desktopImage(area, {}, {}, nullptr);
    put(composed.parts.front(), scene.area, area, image);
    return {Outcome::done, std::move(image)};
}

/* changes: as notices had told before the windows were listed. */
WindowPictures::Picture WindowPictures::patchedDesktop(const PixelRect& area, Scene scene,
                                                       unsigned changes) {
    takeNotices();
    if (changes_ != changes)
        return {Outcome::changed};
    scene.parts = patchesOf(ledger_.shownOf(scene.isLeftOut()), scene.area);
    if (isLarge(scene.parts, scene.area))
        return composedDesktop(area, std::move(scene));
    auto screen = screenContent_.grab(area);
    if (!screen)
        return {};
    if (!scene.parts.empty()) {
        Composed composed = compose(scene);
        if (composed.outcome != Outcome::done)
            return {composed.outcome};
        for (std::size_t i = 0; i < scene.parts.size(); ++i)
            put(composed.parts[i], scene.parts[i], area, *screen);
    }
    // What changed before the screen was read has been told by now.
    takeNotices();
    if (changes_ != changes)
        return {Outcome::changed};
    return {Outcome::done, std::move(*screen)};
}

std::optional<PixelBuffer> WindowPictures::aloneIn(const PixelRect& area, std::uint32_t number) {
    for (int attempt = 0; attempt < kMostAttempts && begin(); ++attempt) {
        const auto stack = listWindows();
        if (!stack)
            return std::nullopt;
        noteCompositing(*stack);
        Scene scene{.chosen = choose(stack->windows, {number})};
        if (scene.chosen.empty())
            break;
        PixelBuffer image = desktopImage(area, {}, {}, nullptr);
        scene.area = intersection(area, scene.chosen.front().box);
        scene.parts = {scene.area};
        scene.harmless = harmlessAmong(stack->windows, scene.chosen);
        if (!scene.area.empty()) {
            const Composed composed = compose(scene);
            if (composed.outcome == Outcome::failed)
                return std::nullopt;
            if (composed.outcome == Outcome::changed)
                continue;
            put(composed.parts.front(), scene.area, area, image);
        }
        last_ = LastPicture{number, area, image};
        return image;
    }
    return lastOf(area, number);
}

std::optional<PixelBuffer> WindowPictures::lastOf(const PixelRect& area, std::uint32_t number) {
    if (!last_ || last_->number != number)
        return std::nullopt;
    const auto attributes =
        Request<xcb_get_window_attributes_reply_t>(
            connection_, xcb_get_window_attributes(connection_.handle(), number))
            .take();
    if (attributes == nullptr)
        last_.reset();
    return last_ && last_->area == area ? std::optional(last_->pixels) : std::nullopt;
}

WindowPictures::Composed WindowPictures::compose(const Scene& scene) {
    auto layers = layersOf(scene);
    if (!layers)
        return {};
    takeNotices();
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
std::optional<std::list<WindowPictures::Layer>> WindowPictures::layersOf(const Scene& scene) {
    std::vector<TopLevel> seen;
    std::ranges::copy_if(scene.chosen, std::back_inserter(seen), [&scene](const TopLevel& top) {
        return std::ranges::any_of(scene.parts, [&top](const PixelRect& part) {
            return !intersection(top.box, part).empty();
        });
    });
    std::deque<WindowShapeRequest> shapeRequests;
    for (const TopLevel& top : seen)
        shapeRequests.emplace_back(connection_, top, atoms_->opacity);
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

void WindowPictures::beginCanvas(const Scene& scene) {
    if (!canvas_ || !canvas_->hasSize(scene.area.width, scene.area.height)) {
        canvas_.reset();
        canvas_.emplace(connection_, scene.area.width, scene.area.height);
    }
    if (!scene.isDesktop)
        return canvas_->beginZero(scene.area, scene.parts);
    canvas_->beginBlack(scene.area, scene.parts);
    if (background_)
        return background_->drawOn(*canvas_, scene.parts);
    const xcb_pixmap_t backdrop = findBackdrop(connection_, atoms_->backdrop);
    if (backdrop != XCB_NONE)
        drawBackdrop(connection_, backdrop, *canvas_);
}

/* False if the server does not answer. */
bool WindowPictures::draw(const Scene& scene, std::list<Layer>& layers) {
    std::size_t partsUnderWay = 0;
    for (Layer& layer : layers) {
        layer.generation = ledger_.generation(layer.top.window, layer.top.box);
        // Named after the notices were taken in: this pixmap is as new as the ledger, or newer.
        layer.content.emplace(connection_, layer.top.window, layer.format.id);
        const auto residue = ledger_.residueIn(layer.top.window, scene.isLeftOut());
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
bool WindowPictures::read(const Scene& scene, std::vector<PixelBuffer>& parts) {
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

WindowPictures::Outcome WindowPictures::outcomeOf(const Scene& scene, std::list<Layer>& layers) {
    // What changed before the picture was read has been told by now.
    takeNotices();
    Outcome outcome = Outcome::done;
    if (scene.isDesktop && background_ && background_->outcome() != WindowContent::Outcome::done) {
        background_.reset();  // somebody has closed its window
        outcome = Outcome::changed;
    }
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
