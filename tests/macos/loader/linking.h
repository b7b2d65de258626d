// Joins the loaded images: moves their pointers, points them at one another's symbols, and readies
// what the code counts on before its first instruction.
#ifndef LINKING_H
#define LINKING_H

#include "image_list.h"
#include "symbols.h"

namespace macho {

// Leaves every image with the protections that it asks for. Throws LoadError.
void link(const ImageList& images, const Symbols& symbols);

}  // namespace macho

#endif
