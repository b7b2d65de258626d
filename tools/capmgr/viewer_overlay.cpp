#include "viewer_overlay.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"

namespace {

constexpr SDL_Color kPlain{236, 239, 244, 255};
constexpr SDL_Color kAttention{255, 209, 102, 255};
constexpr SDL_Color kQuiet{176, 184, 196, 255};
constexpr SDL_Color kPaper{18, 22, 30, 218};
constexpr SDL_Color kEdge{76, 141, 255, 255};

// Of the window's height, so that the texts grow with the window on a dense screen as well.
constexpr int kLinesInWindow = 46;
constexpr int kSmallest = 12;
constexpr int kLargest = 40;

void choose(SDL_Renderer* renderer, SDL_Color color) {
    SDL_SetRenderDrawColor(renderer, color.r, color.g, color.b, color.a);
}

}  // namespace

ViewerOverlay::ViewerOverlay(SDL_Renderer* renderer, Console& errors) : renderer_(renderer) {
    try {
        font_.emplace();
    } catch (const Failure& reason) {
        errors.note(fmt::format("there are no texts over the picture: {}", reason.what()));
    }
}

bool ViewerOverlay::set(const OverlayTexts& texts) {
    if (texts == texts_) {
        return false;
    }
    texts_ = texts;
    laidOutFor_ = {};
    return font_.has_value();
}

void ViewerOverlay::draw(int width, int height) {
    if (!font_) {
        return;
    }
    if (laidOutFor_.x != width || laidOutFor_.y != height) {
        layOut(width, height);
    }
    const int margin = letters_ / 2;
    int top = margin;
    top = drawPanel(status_, kEdge, top);
    top = drawPanel(notice_, kAttention, top);
    drawPanel(list_, kEdge, top);
    drawPanel(keys_, kPaper, height - margin - keys_.height - letters_);
}

void ViewerOverlay::layOut(int width, int height) {
    laidOutFor_ = {width, height};
    letters_ = std::clamp(height / kLinesInWindow, kSmallest, kLargest);
    font_->setSize(letters_);
    status_ = makePanel(texts_.status, kPlain);
    notice_ = makePanel(texts_.notice, kAttention);
    list_ = makePanel(texts_.list, kPlain);
    keys_ = makePanel(texts_.keys, kQuiet);
}

ViewerOverlay::Panel ViewerOverlay::makePanel(const std::string& text, SDL_Color color) const {
    const int room = std::max(laidOutFor_.x - 3 * letters_, letters_);
    const Surface surface = font_->render(text, color, room);
    if (surface == nullptr) {
        return {};
    }
    return {Texture(SDL_CreateTextureFromSurface(renderer_, surface.get())), surface->w,
            surface->h};
}

// Returns where the next panel below begins.
int ViewerOverlay::drawPanel(const Panel& panel, SDL_Color edge, int top) const {
    if (panel.text == nullptr) {
        return top;
    }
    const int margin = letters_ / 2;
    const SDL_Rect paper{margin, top, panel.width + 2 * margin, panel.height + letters_};
    SDL_SetRenderDrawBlendMode(renderer_, SDL_BLENDMODE_BLEND);
    choose(renderer_, kPaper);
    SDL_RenderFillRect(renderer_, &paper);
    const SDL_Rect stripe{paper.x, paper.y, std::max(letters_ / 6, 2), paper.h};
    choose(renderer_, edge);
    SDL_RenderFillRect(renderer_, &stripe);
    const SDL_Rect place{paper.x + margin, paper.y + margin, panel.width, panel.height};
    SDL_RenderCopy(renderer_, panel.text.get(), nullptr, &place);
    return top + paper.h + margin;
}
