#include "viewer_controls.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

using enum ViewerAction;

struct Key {
    SDL_Keycode code;
    ViewerAction action;
    const char* help;  // none: told with the one before
};

constexpr std::array kPictureKeys{
    Key{SDLK_SPACE, PauseOrResume, "Space pause"},
    Key{SDLK_PLUS, LargerFrames, "+ - frame size"},
    Key{SDLK_EQUALS, LargerFrames, nullptr},  // where + is on the same key, but shifted
    Key{SDLK_KP_PLUS, LargerFrames, nullptr},
    Key{SDLK_MINUS, SmallerFrames, nullptr},
    Key{SDLK_KP_MINUS, SmallerFrames, nullptr},
    Key{SDLK_PERIOD, FasterRate, ". , rate"},
    Key{SDLK_COMMA, SlowerRate, nullptr},
    Key{SDLK_m, NextMonitor, "M monitor"},
    Key{SDLK_x, ChooseWindows, "X leave windows out"},
    Key{SDLK_c, ClearWindows, "C leave none out"},
    Key{SDLK_f, Fullscreen, "F full screen"},
    Key{SDLK_h, ShowTexts, "H texts"},
    Key{SDLK_q, Quit, "Q quit"},
    Key{SDLK_ESCAPE, Quit, nullptr},
};

constexpr std::array kListKeys{
    Key{SDLK_UP, ListUp, nullptr},        Key{SDLK_DOWN, ListDown, nullptr},
    Key{SDLK_SPACE, ListTick, nullptr},   Key{SDLK_RETURN, ListClose, nullptr},
    Key{SDLK_ESCAPE, ListClose, nullptr}, Key{SDLK_x, ListClose, nullptr},
};

constexpr std::array<unsigned int, 9> kRates{1, 2, 3, 5, 10, 15, 20, 25, 30};
constexpr std::array<unsigned int, 5> kPercents{25, 33, 50, 75, 100};

ViewerAction find(std::span<const Key> keys, SDL_Keycode code) {
    const auto found =
        std::find_if(keys.begin(), keys.end(), [code](const Key& key) { return key.code == code; });
    return found == keys.end() ? None : found->action;
}

/* The nearest of the rising values beyond this one. */
unsigned int next(std::span<const unsigned int> values, unsigned int value, Step step) {
    if (step == Step::Up) {
        const auto above = std::upper_bound(values.begin(), values.end(), value);
        return above == values.end() ? value : *above;
    }
    const auto notBelow = std::lower_bound(values.begin(), values.end(), value);
    return notBelow == values.begin() ? value : *(notBelow - 1);
}

unsigned int part(unsigned int whole, unsigned int percent) {
    return std::max(static_cast<unsigned int>(std::uint64_t{whole} * percent / 100), 1U);
}

}  // namespace

ViewerAction actionFor(SDL_Keycode key, bool isListOpen) {
    const ViewerAction ofList = isListOpen ? find(kListKeys, key) : None;
    return ofList != None ? ofList : find(kPictureKeys, key);
}

std::vector<std::string> keysHelp() {
    std::vector<std::string> help;
    for (const Key& key : kPictureKeys) {
        if (key.help != nullptr) {
            help.emplace_back(key.help);
        }
    }
    return help;
}

unsigned int nextRate(unsigned int framesPerSecond, Step step) {
    return next(kRates, framesPerSecond, step);
}

// By widths: a size that was asked for by numbers need not have the monitor's shape.
CAP_SIZE nextSize(CAP_SIZE size, CAP_SIZE monitor, Step step) {
    std::array<unsigned int, kPercents.size()> widths{};
    std::transform(kPercents.begin(), kPercents.end(), widths.begin(),
                   [&](unsigned int percent) { return part(monitor.dwWidth, percent); });
    const unsigned int width = next(widths, size.dwWidth, step);
    const auto place = std::find(widths.begin(), widths.end(), width);
    if (width == size.dwWidth || place == widths.end()) {
        return size;
    }
    const auto percent = kPercents[static_cast<std::size_t>(place - widths.begin())];
    return {width, part(monitor.dwHeight, percent)};
}
