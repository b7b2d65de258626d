/* The texts over the viewer's picture: panels that can be read on any picture. */
#ifndef CAPMGR_VIEWER_OVERLAY_H
#define CAPMGR_VIEWER_OVERLAY_H

#include <SDL.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "console.h"
#include "text_font.h"

struct DestroyTexture {
    void operator()(SDL_Texture* texture) const { SDL_DestroyTexture(texture); }
};
using Texture = std::unique_ptr<SDL_Texture, DestroyTexture>;

/* What the panels say, UTF-8; a panel without a text is not there. */
struct OverlayTexts {
    std::string status;
    std::string notice;  // what needs attention
    std::string list;
    std::string keys;  // at the bottom; the others are at the top, one below the other

    friend bool operator==(const OverlayTexts&, const OverlayTexts&) = default;
};

class ViewerOverlay {
  public:
    /* The renderer has to outlive it. Without a font there are no panels, and a note
     * says so. */
    ViewerOverlay(SDL_Renderer* renderer, Console& errors);

    /* True when the texts are others than before. */
    bool set(const OverlayTexts& texts);

    /* Draws on a window of this size, pixels, which the size of the letters follows. */
    void draw(int width, int height);

  private:
    struct Panel {
        Texture text;
        int width = 0;  // of the text, pixels
        int height = 0;
    };

    void layOut(int width, int height);
    Panel makePanel(const std::string& text, SDL_Color color) const;
    int drawPanel(const Panel& panel, SDL_Color edge, int top) const;

    SDL_Renderer* renderer_;
    std::optional<TextFont> font_;
    OverlayTexts texts_;
    Panel status_;
    Panel notice_;
    Panel list_;
    Panel keys_;
    SDL_Point laidOutFor_{};  // the window's size; none while the panels are not made
    int letters_ = 0;         // height, pixels
};

#endif
