/* Taking out of a window's content what is not its own. */
#pragma once

#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/top_levels.h"
#include "x11/window_content.h"
#include "x11/window_shape.h"

namespace qor::x11 {

/* Has areas of a window, given from its box's corner, painted anew up to its border: zeros first,
 * then the backgrounds of the windows in it, then what their applications paint when the server
 * tells them that the areas were exposed. What is drawn from the content afterwards holds none of
 * what the areas showed before. */
void wipe(Connection& connection, const TopLevel& top, const WindowShape& shape,
          const std::vector<coregraphics::PixelRect>& areas, WindowContent& content);

}  // namespace qor::x11
