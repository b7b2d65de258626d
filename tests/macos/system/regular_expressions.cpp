// Regular expressions: other structures (64-bit offsets) and flag numbers; the error numbers agree.
// The extensions of this system's library are understood too, beyond what macOS takes.
#include <regex.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "symbol_table.h"

namespace system_library {
namespace {

struct Expression {
    int magic;  // the program's flags
    size_t groups;
    const char* end;
    regex_t* native;
};

struct Match {
    int64_t start;
    int64_t end;
};

static_assert(sizeof(Expression) == 32);
static_assert(REG_NOMATCH == 1 && REG_BADPAT == 2 && REG_EPAREN == 8 && REG_BADRPT == 13);
static_assert(REG_EXTENDED == 1 && REG_ICASE == 2 && REG_NOTBOL == 1 && REG_NOTEOL == 2);

constexpr int kNoSub = 4;
constexpr int kNewline = 8;
constexpr int kInvalidArgument = 16;
constexpr int kSamePatternFlags = REG_EXTENDED | REG_ICASE;
constexpr int kSameMatchFlags = REG_NOTBOL | REG_NOTEOL;

int compile(Expression* expression, const char* pattern, int flags) {
    if ((flags & ~(kSamePatternFlags | kNoSub | kNewline)) != 0) {
        return kInvalidArgument;
    }
    int native = flags & kSamePatternFlags;
    native |= (flags & kNewline) != 0 ? REG_NEWLINE : 0;
    auto compiled = std::make_unique<regex_t>();
    const int error = regcomp(compiled.get(), pattern, native);
    if (error == 0) {
        *expression = {flags, compiled->re_nsub, nullptr, compiled.release()};
    }
    return error;
}

int execute(const Expression* expression, const char* text, size_t count, Match* matches,
            int flags) {
    if ((flags & ~kSameMatchFlags) != 0) {
        return kInvalidArgument;
    }
    const bool placesWanted = (expression->magic & kNoSub) == 0;
    std::vector<regmatch_t> native(placesWanted ? count : 0);
    const int error = regexec(expression->native, text, native.size(), native.data(), flags);
    if (error == 0) {
        std::transform(native.begin(), native.end(), matches, [](const regmatch_t& match) {
            return Match{match.rm_so, match.rm_eo};
        });
    }
    return error;
}

void release(Expression* expression) {
    regfree(expression->native);
    delete expression->native;
    expression->native = nullptr;
}

const Registration registration{
    symbol("_regcomp", compile),
    symbol("_regexec", execute),
    symbol("_regfree", release),
};

}  // namespace
}  // namespace system_library
