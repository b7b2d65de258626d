// Runs a program whose images are loaded and linked.
#ifndef PROGRAM_START_H
#define PROGRAM_START_H

#include <vector>

#include "image_list.h"
#include "stand_ins.h"

namespace macho {

class ProgramStart {
  public:
    // Finds what is to be run, and checks that it lies in the images. Throws LoadError.
    ProgramStart(const ImageList& images, const StandIns& standIns);

    // Runs the initialisers, of libraries before those that need them, then the program's main,
    // then exit(). The arguments begin with the program's path and must live as long as the
    // process.
    [[noreturn]] void run(int argumentCount, char** arguments) const;

  private:
    using Initialiser = void (*)(int, char**, char**, const char**);

    void visit(const Image& image);
    void collect(const Image& image);
    void collectPointers(const Image& image, const Section& section);
    void collectOffsets(const Image& image, const Section& section);
    void add(const Image& image, uint64_t place);

    const Image& program_;
    std::vector<const Image*> visited_;
    std::vector<Initialiser> initialisers_;
    void* entry_ = nullptr;
};

}  // namespace macho

#endif
