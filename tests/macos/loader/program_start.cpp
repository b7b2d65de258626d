#include "program_start.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "load_error.h"
#include "macho_format.h"

namespace macho {

// What stands in for the system's libraries comes before all that could need it.
ProgramStart::ProgramStart(const ImageList& images, const StandIns& standIns)
    : program_(images.program()) {
    const auto offset = program_.commands().entryOffset;
    if (program_.commands().fileType != kExecutable || !offset) {
        throw LoadError(program_.path().string() + ": it is not a program");
    }
    if (!program_.memory().covers(*program_.commands().headerAddress + *offset, 1)) {
        throw LoadError(program_.path().string() + ": its first instruction lies outside of it");
    }
    entry_ = program_.header() + *offset;
    for (const StandIn& standIn : standIns.all()) {
        if (standIn.image != nullptr) {
            visit(*standIn.image);
        }
    }
    visit(program_);
}

// Images that need one another run in the order in which they are reached.
void ProgramStart::visit(const Image& image) {
    if (std::find(visited_.begin(), visited_.end(), &image) != visited_.end()) {
        return;
    }
    visited_.push_back(&image);
    for (const Library& library : image.libraries) {
        if (library.image != nullptr) {
            visit(*library.image);
        }
    }
    withFile(image.path(), [&] { collect(image); });
}

void ProgramStart::collect(const Image& image) {
    for (const Segment& segment : image.commands().segments) {
        for (const Section& section : segment.sections) {
            if (section.kind == kInitialiserPointers) {
                collectPointers(image, section);
            } else if (section.kind == kInitialiserOffsets) {
                collectOffsets(image, section);
            }
        }
    }
}

void ProgramStart::collectPointers(const Image& image, const Section& section) {
    ByteReader pointers(image.contents(section, "a list of initialisers"));
    while (!pointers.atEnd()) {
        add(image, pointers.next<uint64_t>());
    }
}

void ProgramStart::collectOffsets(const Image& image, const Section& section) {
    ByteReader offsets(image.contents(section, "a list of initialisers"));
    while (!offsets.atEnd()) {
        add(image, reinterpret_cast<uint64_t>(image.header()) + offsets.next<uint32_t>());
    }
}

void ProgramStart::add(const Image& image, uint64_t place) {
    if (!image.memory().covers(place - image.memory().slide(), 1)) {
        throw LoadError("an initialiser lies outside the image");
    }
    initialisers_.push_back(reinterpret_cast<Initialiser>(place));
}

void ProgramStart::run(int argumentCount, char** arguments) const {
    using Main = int (*)(int, char**, char**, const char**);
    const std::string executable = "executable_path=" + program_.path().string();
    const char* forLibraries[] = {executable.c_str(), nullptr};
    for (const Initialiser initialiser : initialisers_) {
        initialiser(argumentCount, arguments, environ, forLibraries);
    }
    std::exit(reinterpret_cast<Main>(entry_)(argumentCount, arguments, environ, forLibraries));
}

}  // namespace macho
