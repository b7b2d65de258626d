#include "x11/screen_content.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::createImage;
using coregraphics::ImageReference;
using coregraphics::isHeldOnce;
using coregraphics::PixelRect;

namespace {

constexpr int kMostAttempts = 4;
// One of so many rows is compared with what it was. What is drawn untold, like videos, is large.
constexpr std::uint32_t kRowsPerSample = 16;

constexpr std::size_t kBytesPerPixel = 4;

std::vector<std::byte> sampledRowsOf(const ScreenFrame& frame) {
    const coregraphics::PixelBuffer& pixels = frame.memory.pixels;
    std::vector<std::byte> rows;
    rows.reserve((pixels.height / kRowsPerSample + 1) * pixels.bytesPerRow);
    for (std::size_t y = 0; y < pixels.height; y += kRowsPerSample) {
        const std::byte* row = pixels.bytes.get() + y * pixels.bytesPerRow;
        rows.insert(rows.end(), row, row + pixels.bytesPerRow);
    }
    return rows;
}

/* Whether a row is as it was, but for a part of the screen that may have changed. */
bool isRowEqual(const std::byte* before, const std::byte* now, const PixelRect& row,
                const PixelRect& changed) {
    const PixelRect gap = intersection(row, changed);
    const std::size_t gapStart =
        gap.empty() ? 0 : static_cast<std::size_t>(gap.x - row.x) * kBytesPerPixel;
    const std::size_t gapEnd = gapStart + gap.width * kBytesPerPixel;
    return std::memcmp(before, now, gapStart) == 0 &&
           std::memcmp(before + gapEnd, now + gapEnd, row.width * kBytesPerPixel - gapEnd) == 0;
}

bool areEqual(const std::vector<std::byte>& sampledRows, const ScreenFrame& frame,
              const PixelRect& changed) {
    const coregraphics::PixelBuffer& pixels = frame.memory.pixels;
    const std::byte* before = sampledRows.data();
    for (std::uint32_t y = 0; y < frame.area.height; y += kRowsPerSample) {
        const PixelRect row{frame.area.x, frame.area.y + static_cast<std::int32_t>(y),
                            frame.area.width, 1};
        if (!isRowEqual(before, pixels.bytes.get() + y * pixels.bytesPerRow, row, changed))
            return false;
        before += pixels.bytesPerRow;
    }
    return true;
}

/* The part of a frame that has to be read if that was drawn; empty if all of it is covered. */
PixelRect uncovered(const PixelRect& drawn, const ScreenFrame& frame,
                    const ScreenContent::Parts& covered) {
    const PixelRect part = intersection(drawn, frame.visible);
    const bool isCovered = std::ranges::any_of(
        covered, [&part](const PixelRect& other) { return intersection(part, other) == part; });
    return isCovered ? PixelRect{} : part;
}

}  // namespace

bool ScreenContent::isUpToDate(const PixelRect& area, const Parts& covered) const {
    return damage_ && isLastOf(area) && isTrusted() &&
           uncovered(damage_->drawn(), last_->frame, covered).empty();
}

std::optional<PixelRect> ScreenContent::update(const PixelRect& area, const Parts& covered) {
    if (!reader_.isPossible())
        return std::nullopt;
    if (isLastOf(area))
        watch();
    if (isUpToDate(area, covered))
        return PixelRect{};
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        PixelRect part;
        const Outcome outcome = isLastOf(area) && isHeldOnce(last_->image)
                                    ? bringUpToDate(covered, part)
                                    : makeAnew(area, part);
        if (outcome == Outcome::done)
            return part;
        if (outcome == Outcome::failed)
            break;
    }
    return std::nullopt;
}

/* Whether it is of the area, and as much of that is on the screen as was then. */
bool ScreenContent::isLastOf(const PixelRect& area) const {
    return last_ && last_->frame.area == area &&
           last_->frame.visible == intersection(area, reader_.root());
}

void ScreenContent::watch() {
    if (damage_ || !isDamageTrusted_ || connection_.link().damageNotice == 0 ||
        !reader_.hasOwnColors())
        return;
    connection_.addRootEvents(XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    damage_.emplace(connection_, connection_.screen().root);
    trustedUntil_ = Clock::now() + kLongestTrust;
}

ScreenContent::Outcome ScreenContent::bringUpToDate(const Parts& covered, PixelRect& part) {
    // Whatever happens from here on, there is no image unless this is done.
    Kept kept = std::move(*std::exchange(last_, std::nullopt));
    const Outcome outcome = readDrawn(kept.frame, covered, part);
    if (outcome == Outcome::done)
        last_ = std::move(kept);
    return outcome;
}

ScreenContent::Outcome ScreenContent::readDrawn(ScreenFrame& frame, const Parts& covered,
                                                PixelRect& part) {
    part = frame.visible;
    if (!damage_)
        return read(frame, part);
    const PixelRect drawn = damage_->forget();
    if (!isTrusted())
        return check(frame, covered, part = drawn);
    part = uncovered(drawn, frame, covered);
    return read(frame, part);
}

ScreenContent::Outcome ScreenContent::makeAnew(const PixelRect& area, PixelRect& part) {
    last_.reset();
    auto frame = reader_.begin(area);
    if (!frame)
        return Outcome::failed;
    ImageReference image = createImage(frame->memory.pixels);
    if (damage_)
        damage_->forget();
    part = frame->visible;
    const Outcome outcome = read(*frame, part);
    if (outcome == Outcome::done)
        last_ = Kept{std::move(*frame), std::move(image)};
    return outcome;
}

/* Makes the part as large as it has to be. */
ScreenContent::Outcome ScreenContent::read(ScreenFrame& frame, PixelRect& part) {
    Outcome outcome = reader_.read(frame, part);
    if (!damage_ || outcome != Outcome::done)
        return outcome;
    // Told too late for this part, as the server had not yet come to the request to forget. Now it
    // has, so there is no more of that.
    const PixelRect whole = around(part, intersection(damage_->missed(), frame.visible));
    if (whole != part)
        outcome = reader_.read(frame, part = whole);
    if (part == frame.visible)
        trustedUntil_ = Clock::now() + kLongestTrust;
    return outcome;
}

/* Reads all, and sees whether only that has changed which the server told of: what is given as the
 * part, and what it told since. */
ScreenContent::Outcome ScreenContent::check(ScreenFrame& frame, const Parts& covered,
                                            PixelRect& part) {
    PixelRect told = std::exchange(part, frame.visible);
    for (const PixelRect& other : covered)
        told = around(told, other);
    const auto before = sampledRowsOf(frame);
    const Outcome outcome = read(frame, part);
    if (outcome != Outcome::done)
        return outcome;
    told = around(told, around(damage_->missed(), damage_->drawn()));
    if (areEqual(before, frame, told))
        return outcome;
    coregraphics::trace("the server does not tell of all that is drawn: images are read anew");
    isDamageTrusted_ = false;
    damage_.reset();
    return outcome;
}

}  // namespace qor::x11
