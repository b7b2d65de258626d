#include "export_trie.h"

#include <string>

#include "load_error.h"

namespace macho {
namespace {

constexpr uint64_t kKindMask = 0x3;
constexpr uint64_t kAbsoluteKind = 0x2;
constexpr uint64_t kWeak = 0x4;
constexpr uint64_t kElsewhere = 0x8;
constexpr uint64_t kByResolver = 0x10;

// A thread-local variable's value is its descriptor's place, so that kind needs nothing of its own.
Export describe(ByteReader node, std::string_view symbol) {
    const uint64_t flags = node.unsignedNumber();
    if ((flags & kByResolver) != 0) {
        throw LoadError("symbol " + std::string(symbol) +
                        " is found by running code, which this loader does not do");
    }
    const bool weak = (flags & kWeak) != 0;
    if ((flags & kElsewhere) != 0) {
        const uint64_t ordinal = node.unsignedNumber();
        const std::string_view name = node.text();
        return {Export::Kind::kElsewhere, weak, 0, ordinal, name.empty() ? symbol : name};
    }
    const auto kind =
        (flags & kKindMask) == kAbsoluteKind ? Export::Kind::kAbsolute : Export::Kind::kInImage;
    return {kind, weak, node.unsignedNumber(), 0, {}};
}

// The node behind the edge that the rest of the name begins with; takes the edge off the name.
std::optional<uint64_t> follow(ByteReader& edges, std::string_view& rest) {
    const auto count = edges.next<uint8_t>();
    for (int i = 0; i < count; ++i) {
        const std::string_view piece = edges.text();
        const uint64_t child = edges.unsignedNumber();
        // An empty piece would let the search go round in circles.
        if (!piece.empty() && rest.starts_with(piece)) {
            rest.remove_prefix(piece.size());
            return child;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Export> findExport(const Bytes& trie, std::string_view symbol) {
    if (trie.size() == 0) {
        return std::nullopt;
    }
    std::string_view rest = symbol;
    std::optional<uint64_t> place = 0;
    while (place) {
        ByteReader node(trie, *place);
        const uint64_t descriptionSize = node.unsignedNumber();
        if (rest.empty()) {
            return descriptionSize == 0 ? std::nullopt : std::optional(describe(node, symbol));
        }
        (void)trie.part(node.offset(), descriptionSize, "the description of an export");
        ByteReader edges(trie, node.offset() + descriptionSize);
        place = follow(edges, rest);
    }
    return std::nullopt;
}

}  // namespace macho
