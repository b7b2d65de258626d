#include "symbols.h"

#include <string>

#include "export_trie.h"
#include "load_error.h"
#include "loader_library.h"
#include "system_library.h"

namespace macho {
namespace {

// How many libraries may pass a symbol on to one another: beyond that they do it in a circle.
constexpr int kMostPasses = 16;

void* addressOf(const std::optional<Definition>& definition) {
    return definition ? definition->address : nullptr;
}

void* placeOf(const Image& image, std::string_view symbol, uint64_t offset) {
    if (!image.memory().covers(*image.commands().headerAddress + offset, 0)) {
        throw LoadError(image.path().string() + ": it exports " + std::string(symbol) +
                        ", but not from its memory");
    }
    return image.header() + offset;
}

std::string providerOf(const Image& importer, int64_t ordinal) {
    if (ordinal > 0) {
        return importer.libraries[static_cast<size_t>(ordinal) - 1].name;
    }
    return ordinal == kFromItself        ? "the image itself"
           : ordinal == kFromMainProgram ? "the main program"
                                         : "any image";
}

}  // namespace

void* Symbols::resolve(const Image& importer, const Import& import) const {
    // First the program, whatever library the import names: so that a test can put a function of
    // its own in front of a library's.
    if (void* const found = addressOf(inImage(images_.program(), import.symbol))) {
        return found;
    }
    void* const found = byOrdinal(importer, import);
    if (found == nullptr && !import.mayBeMissing) {
        throw LoadError("nobody provides " + std::string(import.symbol) +
                        ", which it imports from " + providerOf(importer, import.ordinal));
    }
    return found;
}

void* Symbols::byOrdinal(const Image& importer, const Import& import) const {
    switch (import.ordinal) {
        case kFromItself:
            return addressOf(inImage(importer, import.symbol));
        case kFromMainProgram:
            return nullptr;
        case kFromAnywhere:
            return anywhere(import.symbol);
        case kFromWeakDefinitions: {
            void* const shared = coalesced(import.symbol);
            return shared != nullptr ? shared : inSystem(import.symbol);
        }
        default:
            return addressOf(inLibrary(importer.libraries[static_cast<size_t>(import.ordinal) - 1],
                                       import.symbol, kMostPasses));
    }
}

void* Symbols::coalesced(std::string_view symbol) const {
    void* firstWeak = nullptr;
    for (const auto& image : images_.images()) {
        const auto definition = inImage(*image, symbol, 0);
        if (definition && !definition->weak) {
            return definition->address;
        }
        if (definition && firstWeak == nullptr) {
            firstWeak = definition->address;
        }
    }
    return firstWeak;
}

std::optional<Definition> Symbols::inImage(const Image& image, std::string_view symbol) const {
    return inImage(image, symbol, kMostPasses);
}

std::optional<Definition> Symbols::inImage(const Image& image, std::string_view symbol,
                                           int passesLeft) const {
    const auto found =
        withFile(image.path(), [&] { return findExport(image.commands().exports, symbol); });
    if (found && found->kind == Export::Kind::kAbsolute) {
        return Definition{reinterpret_cast<void*>(found->value), found->weak};
    }
    if (found && found->kind == Export::Kind::kInImage) {
        return Definition{placeOf(image, symbol, found->value), found->weak};
    }
    if (passesLeft == 0) {
        return std::nullopt;
    }
    if (found) {
        if (found->ordinal == 0 || found->ordinal > image.libraries.size()) {
            throw LoadError(image.path().string() + ": it passes " + std::string(symbol) +
                            " on from a library that is not there");
        }
        return inLibrary(image.libraries[found->ordinal - 1], found->symbol, passesLeft - 1);
    }
    for (const Library& library : image.libraries) {
        const auto passedOn =
            library.reexported ? inLibrary(library, symbol, passesLeft - 1) : std::nullopt;
        if (passedOn) {
            return passedOn;
        }
    }
    return std::nullopt;
}

std::optional<Definition> Symbols::inLibrary(const Library& library, std::string_view symbol,
                                             int passesLeft) const {
    if (library.image != nullptr) {
        return inImage(*library.image, symbol, passesLeft);
    }
    void* const address = library.ofSystem ? inSystem(symbol) : nullptr;
    return address == nullptr ? std::nullopt : std::optional(Definition{address, false});
}

void* Symbols::inSystem(std::string_view symbol) const {
    for (const StandIn& standIn : standIns_.all()) {
        void* const found = standIn.image != nullptr
                                ? addressOf(inImage(*standIn.image, symbol))
                                : StandIns::findInElf(standIn.elfLibrary, symbol);
        if (found != nullptr) {
            return found;
        }
    }
    void* const ownOne = loader_library::find(symbol);
    return ownOne != nullptr ? ownOne : system_library::find(symbol);
}

void* Symbols::anywhere(std::string_view symbol, size_t first) const {
    for (size_t i = first; i < images_.images().size(); ++i) {
        if (void* const found = addressOf(inImage(*images_.images()[i], symbol))) {
            return found;
        }
    }
    return inSystem(symbol);
}

}  // namespace macho
