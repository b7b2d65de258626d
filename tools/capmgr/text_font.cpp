#include "text_font.h"

#include <fmt/format.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <sstream>

#include "failure.h"

namespace {

constexpr int kFirstSize = 14;

struct DestroyPattern {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, DestroyPattern>;

std::string textOf(FcPattern* pattern, const char* property) {
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, property, 0, &text) != FcResultMatch) {
        return {};
    }
    return reinterpret_cast<const char*>(text);
}

/* Empty when there is none. */
std::string findFontFile() {
    const Pattern wanted(FcNameParse(reinterpret_cast<const FcChar8*>("monospace:scalable=true")));
    if (wanted == nullptr || FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern) == FcFalse) {
        return {};
    }
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const Pattern found(FcFontMatch(nullptr, wanted.get(), &result));
    return found == nullptr ? std::string() : textOf(found.get(), FC_FILE);
}

}  // namespace

TextFont::Library::Library() {
    if (TTF_Init() != 0) {
        throw Failure(fmt::format("no texts can be drawn: {}", TTF_GetError()));
    }
}

TextFont::Library::~Library() {
    TTF_Quit();
}

TextFont::TextFont() {
    const std::string file = findFontFile();
    FcFini();
    if (file.empty()) {
        throw Failure("no font is installed");
    }
    font_.reset(TTF_OpenFont(file.c_str(), kFirstSize));
    if (font_ == nullptr) {
        throw Failure(fmt::format("the font {} cannot be used: {}", file, TTF_GetError()));
    }
}

void TextFont::setSize(int pixels) {
    TTF_SetFontSize(font_.get(), pixels);
}

Surface TextFont::render(const std::string& text, SDL_Color color, int width) const {
    constexpr int kOnlyAtLineEnds = 0;
    const int wrap = widthOf(text) <= width ? kOnlyAtLineEnds : width;
    return Surface(TTF_RenderUTF8_Blended_Wrapped(font_.get(), text.c_str(), color,
                                                  static_cast<Uint32>(wrap)));
}

// Of its longest line, pixels.
int TextFont::widthOf(const std::string& text) const {
    int widest = 1;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        int width = 0;
        TTF_SizeUTF8(font_.get(), line.c_str(), &width, nullptr);
        widest = std::max(widest, width);
    }
    return widest;
}
