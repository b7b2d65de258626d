/* Small pictures of all monitors in a grid, each with its name below. */
#ifndef CAPMGR_CONTACT_SHEET_H
#define CAPMGR_CONTACT_SHEET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "frame.h"

struct Thumbnail {
    Frame picture;
    std::string caption;  // lines
    bool isMarked = false;
    std::uint32_t left = 0;  // in the sheet, pixels; set by contactSheet
    std::uint32_t top = 0;
};

/* The sheet, in cells that are `width` pixels wide; sets the places of the thumbnails. Throws
 * Failure when no text can be drawn. */
Frame contactSheet(std::vector<Thumbnail>& thumbnails, std::uint32_t width);

#endif
