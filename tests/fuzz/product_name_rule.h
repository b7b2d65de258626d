/* What holds of every product name, whatever a display says of itself. */
#pragma once

#include <cstddef>
#include <string_view>

#include "text_rule.h"

/* From one to 13 characters of valid UTF-8, none of them a control character, no outer blanks. */
inline bool isProductName(std::string_view name) {
    if (name.empty() || name.front() == ' ' || name.back() == ' ' || name.size() > 39)
        return false;
    for (std::size_t characters = 0; !name.empty(); ++characters) {
        const auto character = takeCharacter(name);
        if (!character || characters == 13 || isControl(*character))
            return false;
    }
    return true;
}
