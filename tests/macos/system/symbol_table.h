// The names that the stand-in provides. Each source file registers its own beside their
// definitions, so that a name and what answers it are read together.
//
// Threads: registration happens before main; any thread afterwards.
#ifndef SYMBOL_TABLE_H
#define SYMBOL_TABLE_H

#include <initializer_list>
#include <string_view>
#include <type_traits>

namespace system_library {

struct Symbol {
    std::string_view name;  // as in a symbol table, with the leading underscore; a literal
    void* address;
};

template <typename Target>
Symbol symbol(std::string_view name, Target* target) noexcept {
    if constexpr (std::is_function_v<Target>) {
        return {name, reinterpret_cast<void*>(target)};
    } else {
        return {name, target};
    }
}

// Registers at construction; meant for constants at namespace scope. Ends the process, with a line
// that says so, for a name that is there already.
class Registration {
  public:
    Registration(std::initializer_list<Symbol> symbols) noexcept;
};

}  // namespace system_library

#endif
