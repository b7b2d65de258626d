// An image's list of exported symbols: a tree whose edges carry pieces of names, so that names with
// the same start share it. What hangs on the node where a name ends describes the symbol.
#ifndef EXPORT_TRIE_H
#define EXPORT_TRIE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "bytes.h"

namespace macho {

struct Export {
    enum class Kind { kInImage, kAbsolute, kElsewhere };
    Kind kind;
    bool weak;                // gives way to a definition that is not
    uint64_t value;           // in the image: from its header; absolute: the address
    uint64_t ordinal;         // elsewhere: the number of the dependency, from 1
    std::string_view symbol;  // elsewhere: its name there; never empty
};

// Nothing when the list lacks the symbol. Throws LoadError for a list that makes no sense, as far
// as the search sees it, and for a symbol whose address only code could tell. Thread-safe.
std::optional<Export> findExport(const Bytes& trie, std::string_view symbol);

}  // namespace macho

#endif
