#include "appkit_classes.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace appkit {

char screenClass;
char constantStringClass;

namespace {

template <typename Value, typename... Arguments>
Implementation entry(Kind kind, std::string_view selector, Value (*function)(Arguments...)) {
    return {kind, selector, std::is_same_v<Value, CGRect> ? Result::kMemory : Result::kRegisters,
            reinterpret_cast<Method>(function)};
}

}  // namespace

const Implementation* findImplementation(Kind kind, std::string_view selector) {
    static const std::array entries{
        entry(Kind::kScreenClass, "screens", screens),
        entry(Kind::kScreenClass, "mainScreen", mainScreen),
        entry(Kind::kArray, "countByEnumeratingWithState:objects:count:", countByEnumerating),
        entry(Kind::kScreen, "deviceDescription", deviceDescription),
        entry(Kind::kScreen, "frame", frame),
        entry(Kind::kScreen, "backingScaleFactor", backingScaleFactor),
        entry(Kind::kDescription, "objectForKeyedSubscript:", objectForKeyedSubscript),
        entry(Kind::kNumber, "integerValue", integerValue),
    };
    const auto found =
        std::find_if(entries.begin(), entries.end(), [kind, selector](const Implementation& entry) {
            return entry.kind == kind && entry.selector == selector;
        });
    return found == entries.end() ? nullptr : &*found;
}

}  // namespace appkit
