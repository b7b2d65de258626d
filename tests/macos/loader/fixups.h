// Reads an image's lists of fixups: which of its pointers must be moved with it (rebases), and
// which must be pointed at another image's symbols (binds). A list is a program for a small
// machine: opcodes set a register or two, and some of them carry out the fixup that the registers
// describe.
#ifndef FIXUPS_H
#define FIXUPS_H

#include <cstdint>
#include <functional>
#include <string_view>

#include "load_commands.h"

namespace macho {

// Which library a bind's symbol is to come from, where it is not the number of a dependency (from
// 1).
enum LibraryOrdinal : int64_t {
    kFromItself = 0,
    kFromMainProgram = -1,
    kFromAnywhere = -2,
    kFromWeakDefinitions = -3,
};

struct Import {
    std::string_view symbol;
    int64_t ordinal;
    bool mayBeMissing;
};

struct Bind {
    uint64_t address;  // that the image was linked for, of the pointer
    Import import;
    uint64_t addend;  // wraps
};

// Every address handed out has room for a pointer inside a writable segment. Both throw LoadError
// for a list that makes no sense.
void forEachRebase(const LoadCommands& commands,
                   const std::function<void(uint64_t address)>& rebase);

// `list` is one of the image's three lists of binds; entries of the lazy one stand alone, each with
// an end of its own.
enum class BindList { kPlain, kWeak, kLazy };
void forEachBind(const LoadCommands& commands, BindList list,
                 const std::function<void(const Bind&)>& bind);

}  // namespace macho

#endif
