/* The typeface of texts in pictures: the fixed-width one that this desktop prefers. */
#ifndef CAPMGR_TEXT_FONT_H
#define CAPMGR_TEXT_FONT_H

#include <SDL.h>
#include <SDL_ttf.h>

#include <memory>
#include <string>

struct FreeSurface {
    void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
};
using Surface = std::unique_ptr<SDL_Surface, FreeSurface>;

class TextFont {
  public:
    /* Throws Failure when no typeface is to be had. */
    TextFont();

    /* Height of the letters, pixels. */
    void setSize(int pixels);

    /* The text, which may have several lines, as wide as the longest; if that is more than `width`
     * pixels, they are wrapped there. Null when it cannot be drawn, or is empty. */
    Surface render(const std::string& text, SDL_Color color, int width) const;

  private:
    int widthOf(const std::string& text) const;

    struct Library {
        Library();
        ~Library();
        Library(const Library&) = delete;
        Library& operator=(const Library&) = delete;
    };
    struct Close {
        void operator()(TTF_Font* font) const { TTF_CloseFont(font); }
    };

    Library library_;
    std::unique_ptr<TTF_Font, Close> font_;
};

#endif
