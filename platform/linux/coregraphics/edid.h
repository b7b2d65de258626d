/* The data block in which a display describes itself (EDID). */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qor::coregraphics {

/* The product name in a display's description, in UTF-8. Null if the block is damaged, is not such
 * a block, or has no name. The block comes from the display and is trusted in nothing. */
std::optional<std::string> productName(std::span<const std::uint8_t> edid);

}  // namespace qor::coregraphics
