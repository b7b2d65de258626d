/* One line to standard error for each event that explains where images come from, if the
 * environment asks for it with QOR_COREGRAPHICS_TRACE=1. */
#pragma once

namespace qor::coregraphics {

/* format is as for printf; the line's end is added. Any thread. */
__attribute__((format(printf, 1, 2))) void trace(const char* format, ...) noexcept;

}  // namespace qor::coregraphics
