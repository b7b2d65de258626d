#include "viewer_platform.h"

std::optional<std::uint32_t> windowNumber(SDL_Window* /*window*/) {
    return std::nullopt;
}

void endWhenServerIsLost() {}
