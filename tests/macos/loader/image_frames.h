// Lets this system's unwinder go through an image's code, so that an exception thrown in one image
// is caught in another.
#ifndef IMAGE_FRAMES_H
#define IMAGE_FRAMES_H

#include "image.h"

namespace macho {

// Call once per image, after its fixups. Throws LoadError for an unwind index that makes no sense.
void publishFrames(const Image& image);

}  // namespace macho

#endif
