#include "x11/window_pictures.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>
#include <utility>

#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::createImage;
using coregraphics::ImageReference;
using coregraphics::isHeldOnce;
using coregraphics::PixelBuffer;
using coregraphics::PixelRect;
using coregraphics::share;

namespace {

// A window that is being resized changes more often than pictures are made.
constexpr int kMostAttempts = 8;
// A picture made of the screen has to be dropped for more reasons than one that is drawn.
constexpr int kMostPatchedAttempts = 2;
// Patches are read one by one.
constexpr std::size_t kMostPatches = 6;

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

std::optional<std::vector<std::uint32_t>> WindowPictures::numbersOnScreen() {
    const WindowStack* stack = listWindows();
    if (stack == nullptr)
        return std::nullopt;
    std::vector<std::uint32_t> numbers;
    for (const TopLevel& top : stack->windows) {
        if (top.isListed())
            numbers.push_back(top.number);
    }
    std::ranges::reverse(numbers);
    return numbers;
}

bool WindowPictures::isUpToDate(const Subject& subject) const {
    if (!last_ || last_->subject != subject || !isUnchanged(*last_))
        return false;
    return last_->patches ? screen_.isUpToDate(subject.area, *last_->patches)
                          : Clock::now() < last_->end;
}

/* Whether the windows are as they were, and what is drawn in those that are in the picture. */
bool WindowPictures::isUnchanged(const Last& picture) const {
    // What a window has left on the screen is patched until it has gone from there.
    const bool isSettled =
        !picture.patches || picture.patches->empty() || windows_.ledger().isSettled();
    return isSettled && picture.changes == windows_.changes() && windows_.tellsOfAllChanges() &&
           composer_.areContentsUnchanged();
}

ImageReference WindowPictures::lastImage() const {
    if (last_->patches)
        return screen_.image();
    return share(last_->subject.kind == Kind::alone ? lastAlone_->image : last_->image);
}

ImageReference WindowPictures::desktopOf(const std::vector<std::uint32_t>& numbers,
                                         const PixelRect& area) {
    const Subject subject{Kind::desktop, numbers, area};
    for (int attempt = 0; attempt < kMostAttempts && windows_.begin(); ++attempt) {
        takeNotices();
        if (isUpToDate(subject))
            return lastImage();
        // What happens from here on, there is no last picture unless this one is done.
        const auto before = std::exchange(last_, std::nullopt);
        Last picture{.subject = subject, .changes = windows_.changes()};
        const WindowStack* stack = listWindows();
        if (stack == nullptr)
            break;
        composer_.keepBackground(*stack);
        const bool mayPatch = attempt < kMostPatchedAttempts;
        const Outcome outcome = makeDesktop(*stack, mayPatch, before, picture);
        if (outcome == Outcome::done) {
            last_ = std::move(picture);
            return lastImage();
        }
        if (outcome == Outcome::failed)
            break;
    }
    return nullptr;
}

Scene WindowPictures::sceneOf(const std::vector<std::uint32_t>& numbers,
                              const WindowStack& stack) const {
    Scene scene{.chosen = choose(stack.windows, numbers)};
    scene.harmless = harmlessAmong(stack.windows, scene.chosen);
    return scene;
}

/* Whether it can be known where on the screen there may be pixels of a window. What a compositing
 * manager that has ended left there cannot. */
bool WindowPictures::isPatchable(const WindowStack& stack, const Scene& scene) {
    return !stack.isComposited && !windows_.wasComposited() && composer_.isBackgroundDefined() &&
           areStacked(scene.chosen, stack.windows);
}

Outcome WindowPictures::makeDesktop(const WindowStack& stack, bool mayPatch,
                                    const std::optional<Last>& before, Last& picture) {
    Scene scene = sceneOf(picture.subject.numbers, stack);
    scene.area = intersection(picture.subject.area, stack.root);
    scene.isDesktop = true;
    scene.laying = stack.isComposited ? Laying::blending : Laying::covering;
    return mayPatch && isPatchable(stack, scene) ? patch(std::move(scene), before, picture)
                                                 : compose(std::move(scene), picture);
}

Outcome WindowPictures::compose(Scene scene, Last& picture) {
    screen_.forget();
    const PixelRect& area = picture.subject.area;
    const auto memory = lend(area, scene.area == area);
    if (!memory)
        return Outcome::failed;
    picture.image = createImage(memory->pixels);
    picture.end = Clock::now() + kLongestTrust;
    composer_.beginPicture(scene.chosen);
    if (scene.area.empty())
        return Outcome::done;
    scene.parts = {scene.area};
    return composer_.compose(scene, {*memory, area}).outcome;
}

/* Memory that is zero unless all of it will be drawn on; null if the server does not answer. */
std::optional<ImageMemory> WindowPictures::lend(const PixelRect& area, bool isAllDrawn) {
    ImageMemory memory = transport_.lend(area.width, area.height);
    const PixelBuffer& pixels = memory.pixels;
    if (pixels.bytes == nullptr)
        return std::nullopt;
    if (!isAllDrawn)
        std::memset(pixels.bytes.get(), 0, pixels.bytesPerRow * pixels.height);
    return memory;
}

Outcome WindowPictures::patch(Scene scene, const std::optional<Last>& before, Last& picture) {
    takeNotices();
    if (windows_.changes() != picture.changes)
        return Outcome::changed;
    scene.parts = patchesOf(windows_.ledger().shownOf(scene.isLeftOut()), scene.area);
    if (isLarge(scene.parts, scene.area))
        return compose(std::move(scene), picture);
    const bool isPatched =
        before && before->subject == picture.subject && before->patches == scene.parts;
    const bool arePatchesKept = isPatched && isUnchanged(*before);
    // Patches are not drawn on an image that somebody holds, which it may be if nothing is read.
    if (!isPatched || (!arePatchesKept && !screen_.isFree()))
        screen_.forget();
    const auto read = screen_.update(picture.subject.area, scene.parts);
    if (!read)
        return Outcome::failed;
    const bool areOverwritten = std::ranges::any_of(
        scene.parts, [&read](const PixelRect& part) { return !intersection(part, *read).empty(); });
    const Outcome outcome = arePatchesKept && !areOverwritten ? Outcome::done : drawPatches(scene);
    // What changed before the screen was read has been told by now.
    takeNotices();
    if (outcome == Outcome::done && windows_.changes() == picture.changes) {
        picture.patches = std::move(scene.parts);
        return Outcome::done;
    }
    screen_.forget();  // windows that are left out may be on it
    return outcome == Outcome::done ? Outcome::changed : outcome;
}

Outcome WindowPictures::drawPatches(const Scene& scene) {
    composer_.beginPicture(scene.chosen);
    if (scene.parts.empty())
        return Outcome::done;
    return composer_.compose(scene, {screen_.memory(), screen_.area()}).outcome;
}

ImageReference WindowPictures::aloneIn(const PixelRect& area, std::uint32_t number) {
    const Subject subject{Kind::alone, {number}, area};
    for (int attempt = 0; attempt < kMostAttempts && windows_.begin(); ++attempt) {
        takeNotices();
        if (isUpToDate(subject))
            return lastImage();
        const auto before = std::exchange(last_, std::nullopt);
        Last picture{.subject = subject, .changes = windows_.changes()};
        const WindowStack* stack = listWindows();
        if (stack == nullptr)
            return nullptr;
        Scene scene = sceneOf(subject.numbers, *stack);
        if (scene.chosen.empty())
            break;
        const Outcome outcome = makeAlone(std::move(scene), before, picture);
        if (outcome == Outcome::failed)
            return nullptr;
        if (outcome == Outcome::changed)
            continue;
        last_ = std::move(picture);
        return lastImage();
    }
    return lastAloneOf(area, number);
}

Outcome WindowPictures::makeAlone(Scene scene, const std::optional<Last>& before, Last& picture) {
    const TopLevel& top = scene.chosen.front();
    scene.area = intersection(picture.subject.area, top.box);
    const bool isUpdate = before && before->subject == picture.subject &&
                          before->changes == picture.changes && windows_.tellsOfAllChanges() &&
                          isHeldOnce(lastAlone_->image);
    if (isUpdate)
        return updateAlone(std::move(scene), *before, picture);
    const PixelRect& area = picture.subject.area;
    const auto memory = lend(area, false);
    if (!memory)
        return Outcome::failed;
    LastAlone made{picture.subject.numbers.front(), area, *memory, createImage(memory->pixels)};
    composer_.beginPicture(scene.chosen);
    picture.end = Clock::now() + kLongestTrust;
    scene.parts = {scene.area};
    const Outcome outcome =
        scene.area.empty() ? Outcome::done : composer_.compose(scene, {*memory, area}).outcome;
    // Until there is another one the last picture stays, for when the window has gone.
    if (outcome == Outcome::done)
        lastAlone_ = std::move(made);
    return outcome;
}

/* Draws what was drawn in the window since, where that is as it was; all of it now and then. */
Outcome WindowPictures::updateAlone(Scene scene, const Last& before, Last& picture) {
    const TopLevel top = scene.chosen.front();
    const auto now = Clock::now();
    const bool isTrusted = now < before.end;
    picture.end = isTrusted ? before.end : now + kLongestTrust;
    const PixelRect part =
        isTrusted ? intersection(composer_.drawnIn(top), scene.area) : scene.area;
    if (part.empty())
        return Outcome::done;
    scene.parts = {part};
    composer_.beginPicture(scene.chosen);
    // What is drawn may be another window's until it is known to be right.
    LastAlone alone = std::move(*std::exchange(lastAlone_, std::nullopt));
    const auto composed = composer_.compose(scene, {alone.memory, picture.subject.area});
    if (composed.outcome == Outcome::done || !composed.isTouched)
        lastAlone_ = std::move(alone);
    if (composed.outcome != Outcome::done)
        return composed.outcome;
    const PixelRect missed = intersection(composer_.missedIn(top), scene.area);
    return around(part, missed) == part ? Outcome::done : Outcome::changed;
}

ImageReference WindowPictures::lastAloneOf(const PixelRect& area, std::uint32_t number) {
    if (!lastAlone_ || lastAlone_->number != number)
        return nullptr;
    const auto attributes =
        Request<xcb_get_window_attributes_reply_t>(
            connection_, xcb_get_window_attributes(connection_.handle(), number))
            .take();
    if (attributes == nullptr && connection_.answers())
        lastAlone_.reset();
    const bool isThere = attributes != nullptr && lastAlone_->area == area;
    return isThere ? share(lastAlone_->image) : nullptr;
}

}  // namespace qor::x11
