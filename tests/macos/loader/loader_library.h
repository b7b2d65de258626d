// The part of macOS's system library that belongs to its dynamic loader: images and symbols looked
// up while the program runs, and what the loader knows of the process. Only what something here
// uses. Threads: any, once the process is known.
#ifndef LOADER_LIBRARY_H
#define LOADER_LIBRARY_H

#include <string_view>

#include "image_list.h"
#include "symbols.h"

namespace loader_library {

// What the functions answer from; must live as long as the process.
struct Process {
    const macho::ImageList* images;
    const macho::Symbols* symbols;
    int argumentCount;
    char** arguments;
};

// Call before the first image's code runs.
void setProcess(const Process& process);

// The address of a function by its name in a symbol table, with the leading underscore; null when
// it is not of the loader's part.
void* find(std::string_view symbol);

}  // namespace loader_library

#endif
