#include "fixups.h"

#include <string>

#include "load_error.h"
#include "macho_format.h"

namespace macho {
namespace {

// The upper half of a byte is the opcode, the lower one a small operand.
constexpr uint8_t kOpcodeMask = 0xf0;
constexpr uint8_t kOperandMask = 0x0f;
constexpr uint64_t kPointer = sizeof(void*);
// The other kinds of fixup patch 32-bit code.
constexpr uint8_t kPointerKind = 1;

enum RebaseOpcode : uint8_t {
    kRebaseDone = 0x00,
    kRebaseSetKind = 0x10,
    kRebaseSetPlace = 0x20,
    kRebaseAdvance = 0x30,
    kRebaseAdvanceByPointers = 0x40,
    kRebaseSome = 0x50,
    kRebaseMany = 0x60,
    kRebaseAndAdvance = 0x70,
    kRebaseManySkipping = 0x80,
};

enum BindOpcode : uint8_t {
    kBindDone = 0x00,
    kBindSetOrdinal = 0x10,
    kBindSetLargeOrdinal = 0x20,
    kBindSetSpecialOrdinal = 0x30,
    kBindSetSymbol = 0x40,
    kBindSetKind = 0x50,
    kBindSetAddend = 0x60,
    kBindSetPlace = 0x70,
    kBindAdvance = 0x80,
    kBindOne = 0x90,
    kBindAndAdvance = 0xa0,
    kBindAndAdvanceByPointers = 0xb0,
    kBindManySkipping = 0xc0,
};

constexpr uint8_t kSymbolMayBeMissing = 0x1;
constexpr uint8_t kSymbolIsDefinedHere = 0x8;

[[noreturn]] void refuse(const Bytes& list, const std::string& what) {
    throw LoadError(std::string(list.name()) + " " + what);
}

void requirePointerKind(const Bytes& list, uint8_t kind) {
    if (kind != kPointerKind) {
        refuse(list, "asks for a fixup of code, which x86-64 has not");
    }
}

// The register that both machines share: where the next fixup is.
class Place {
  public:
    Place(const LoadCommands& commands, const Bytes& list) : commands_(commands), list_(list) {}

    void set(uint8_t segment, uint64_t offset) {
        if (segment >= commands_.segments.size()) {
            refuse(list_, "names a segment that is not there");
        }
        segment_ = &commands_.segments[segment];
        offset_ = offset;
    }

    // Wraps: lists that are sorted by symbol go back by large numbers.
    void advance(uint64_t distance) { offset_ += distance; }

    [[nodiscard]] uint64_t address() const {
        if (segment_ == nullptr) {
            refuse(list_, "has a fixup before it says where");
        }
        if (segment_->memorySize < kPointer || offset_ > segment_->memorySize - kPointer) {
            refuse(list_, "has a fixup outside segment " + segment_->name);
        }
        if ((segment_->protection & kWritable) == 0) {
            refuse(list_, "has a fixup in segment " + segment_->name + ", which is not writable");
        }
        return segment_->address + offset_;
    }

    // `count` fixups, each `skip` bytes behind the end of the one before. A count beyond all sense
    // ends where the segment does.
    template <typename Fixup>
    void repeat(uint64_t count, uint64_t skip, const Fixup& fixup) {
        const uint64_t stride = kPointer + skip;
        if (count > 1 && stride == 0) {
            refuse(list_, "repeats a fixup without end");
        }
        for (uint64_t i = 0; i < count; ++i) {
            fixup(address());
            advance(stride);
        }
    }

  private:
    const LoadCommands& commands_;
    const Bytes& list_;
    const Segment* segment_ = nullptr;
    uint64_t offset_ = 0;
};

class RebaseMachine {
  public:
    RebaseMachine(const LoadCommands& commands, const std::function<void(uint64_t)>& rebase)
        : reader_(commands.rebases), place_(commands, commands.rebases), rebase_(rebase) {}

    void run() {
        while (!reader_.atEnd()) {
            const auto byte = reader_.next<uint8_t>();
            if ((byte & kOpcodeMask) == kRebaseDone) {
                return;
            }
            step(byte & kOpcodeMask, byte & kOperandMask);
        }
    }

  private:
    void step(uint8_t opcode, uint8_t operand) {
        switch (opcode) {
            case kRebaseSetKind:
                return requirePointerKind(reader_.bytes(), operand);
            case kRebaseSetPlace:
                return place_.set(operand, reader_.unsignedNumber());
            case kRebaseAdvance:
                return place_.advance(reader_.unsignedNumber());
            case kRebaseAdvanceByPointers:
                return place_.advance(operand * kPointer);
            case kRebaseSome:
                return place_.repeat(operand, 0, rebase_);
            case kRebaseMany:
                return place_.repeat(reader_.unsignedNumber(), 0, rebase_);
            case kRebaseAndAdvance:
                place_.repeat(1, 0, rebase_);
                return place_.advance(reader_.unsignedNumber());
            case kRebaseManySkipping: {
                const uint64_t count = reader_.unsignedNumber();
                return place_.repeat(count, reader_.unsignedNumber(), rebase_);
            }
            default:
                refuse(reader_.bytes(), "holds an unknown opcode");
        }
    }

    ByteReader reader_;
    Place place_;
    const std::function<void(uint64_t)>& rebase_;
};

const Bytes& listOf(const LoadCommands& commands, BindList list) {
    switch (list) {
        case BindList::kWeak:
            return commands.weakBinds;
        case BindList::kLazy:
            return commands.lazyBinds;
        case BindList::kPlain:
            break;
    }
    return commands.binds;
}

class BindMachine {
  public:
    BindMachine(const LoadCommands& commands, BindList list,
                const std::function<void(const Bind&)>& bind)
        : commands_(commands),
          reader_(listOf(commands, list)),
          lazy_(list == BindList::kLazy),
          place_(commands, listOf(commands, list)),
          bind_(bind) {
        if (list == BindList::kWeak) {
            import_.ordinal = kFromWeakDefinitions;
        }
    }

    void run() {
        while (!reader_.atEnd()) {
            const auto byte = reader_.next<uint8_t>();
            if ((byte & kOpcodeMask) != kBindDone) {
                step(byte & kOpcodeMask, byte & kOperandMask);
            } else if (!lazy_) {
                return;
            }
        }
    }

  private:
    void step(uint8_t opcode, uint8_t operand) {
        switch (opcode) {
            case kBindSetOrdinal:
                return setOrdinal(operand);
            case kBindSetLargeOrdinal:
                return setOrdinal(reader_.unsignedNumber());
            case kBindSetSpecialOrdinal:
                return setSpecialOrdinal(operand);
            case kBindSetSymbol:
                return setSymbol(operand);
            case kBindSetKind:
                return requirePointerKind(reader_.bytes(), operand);
            case kBindSetAddend:
                addend_ = static_cast<uint64_t>(reader_.signedNumber());
                return;
            case kBindSetPlace:
                return place_.set(operand, reader_.unsignedNumber());
            case kBindAdvance:
                return place_.advance(reader_.unsignedNumber());
            default:
                return bindSome(opcode, operand);
        }
    }

    // The opcodes that carry out binds, and then move on.
    void bindSome(uint8_t opcode, uint8_t operand) {
        const auto bind = [this](uint64_t address) { bindAt(address); };
        switch (opcode) {
            case kBindOne:
                return place_.repeat(1, 0, bind);
            case kBindAndAdvance:
                place_.repeat(1, 0, bind);
                return place_.advance(reader_.unsignedNumber());
            case kBindAndAdvanceByPointers:
                place_.repeat(1, 0, bind);
                return place_.advance(operand * kPointer);
            case kBindManySkipping: {
                const uint64_t count = reader_.unsignedNumber();
                return place_.repeat(count, reader_.unsignedNumber(), bind);
            }
            default:
                refuse(reader_.bytes(), "holds an unknown opcode");
        }
    }

    void setOrdinal(uint64_t ordinal) {
        if (ordinal > commands_.dependencies.size()) {
            refuse(reader_.bytes(), "names a library that is not there");
        }
        import_.ordinal = static_cast<int64_t>(ordinal);
    }

    // A negative number of four bits; zero is the image itself.
    void setSpecialOrdinal(uint8_t operand) {
        const int64_t ordinal = operand == 0 ? 0 : static_cast<int64_t>(operand) - 16;
        if (ordinal < kFromWeakDefinitions) {
            refuse(reader_.bytes(), "names a library that is not there");
        }
        import_.ordinal = ordinal;
    }

    // A symbol that is only said to be defined here, overriding weak definitions elsewhere, has no
    // place to bind: the export list says the same.
    void setSymbol(uint8_t flags) {
        import_.symbol = reader_.text();
        import_.mayBeMissing = (flags & kSymbolMayBeMissing) != 0;
        definedHere_ = (flags & kSymbolIsDefinedHere) != 0;
    }

    void bindAt(uint64_t address) {
        if (import_.symbol.empty() || definedHere_) {
            refuse(reader_.bytes(), "binds a pointer to no symbol");
        }
        bind_({address, import_, addend_});
    }

    const LoadCommands& commands_;
    ByteReader reader_;
    bool lazy_;
    Place place_;
    const std::function<void(const Bind&)>& bind_;
    Import import_ = {{}, kFromItself, false};
    bool definedHere_ = false;
    uint64_t addend_ = 0;
};

}  // namespace

void forEachRebase(const LoadCommands& commands, const std::function<void(uint64_t)>& rebase) {
    RebaseMachine(commands, rebase).run();
}

void forEachBind(const LoadCommands& commands, BindList list,
                 const std::function<void(const Bind&)>& bind) {
    BindMachine(commands, list, bind).run();
}

}  // namespace macho
