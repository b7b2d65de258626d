#include "linking.h"

#include <cstring>

#include "fixups.h"
#include "image_frames.h"
#include "load_error.h"
#include "thread_variables.h"

namespace macho {
namespace {

// Pointers that fixups are for need not be aligned.
uint64_t pointerAt(const uint8_t* place) {
    uint64_t value = 0;
    std::memcpy(&value, place, sizeof(value));
    return value;
}

void setPointer(uint8_t* place, uint64_t value) {
    std::memcpy(place, &value, sizeof(value));
}

void rebase(Image& image) {
    const SegmentMapping& memory = image.memory();
    forEachRebase(image.commands(), [&](uint64_t address) {
        uint8_t* const place = memory.at(address);
        setPointer(place, pointerAt(place) + memory.slide());
    });
}

void bind(Image& image, const Symbols& symbols, BindList list) {
    forEachBind(image.commands(), list, [&](const Bind& bind) {
        auto* const target = static_cast<uint8_t*>(symbols.resolve(image, bind.import));
        setPointer(image.memory().at(bind.address),
                   target == nullptr ? 0 : reinterpret_cast<uint64_t>(target) + bind.addend);
    });
}

// The definition that all images share replaces what a pointer was given before. Where no image has
// one, what it was given stays: it came from the system.
void bindWeak(Image& image, const Symbols& symbols) {
    forEachBind(image.commands(), BindList::kWeak, [&](const Bind& bind) {
        if (auto* const shared = symbols.coalesced(bind.import.symbol)) {
            setPointer(image.memory().at(bind.address),
                       reinterpret_cast<uint64_t>(shared) + bind.addend);
        }
    });
}

template <typename Step>
void forEach(const ImageList& images, const Step& step) {
    for (const auto& image : images.images()) {
        withFile(image->path(), [&] { step(*image); });
    }
}

}  // namespace

void link(const ImageList& images, const Symbols& symbols) {
    forEach(images, rebase);
    forEach(images, [&](Image& image) {
        bind(image, symbols, BindList::kPlain);
        // Lazy ones too: what is missing is to be known before the program runs.
        bind(image, symbols, BindList::kLazy);
    });
    // After all others, which they overrule.
    forEach(images, [&](Image& image) { bindWeak(image, symbols); });
    forEach(images, [](Image& image) {
        adoptThreadVariables(image);
        publishFrames(image);
        image.memory().protect();
    });
}

}  // namespace macho
