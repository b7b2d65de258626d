#include "symbol_table.h"

#include <cstdio>
#include <cstdlib>
#include <unordered_map>

#include "system_library.h"

namespace system_library {
namespace {

using Table = std::unordered_map<std::string_view, void*>;

// Made on first use: the registrations of the other files run in no particular order.
Table& table() {
    static Table instance;
    return instance;
}

}  // namespace

Registration::Registration(std::initializer_list<Symbol> symbols) noexcept {
    for (const Symbol& entry : symbols) {
        if (!table().emplace(entry.name, entry.address).second) {
            std::fprintf(stderr, "system library: %.*s is registered twice\n",
                         static_cast<int>(entry.name.size()), entry.name.data());
            std::abort();
        }
    }
}

void* find(std::string_view symbol) {
    const auto entry = table().find(symbol);
    return entry == table().end() ? nullptr : entry->second;
}

}  // namespace system_library
