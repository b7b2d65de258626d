#include "json_output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

void addJsonOption(CLI::App& command, bool& wanted) {
    command.add_flag("--json", wanted, "print JSON, for programs");
}

void writeJson(Console& console, const nlohmann::ordered_json& document) {
    constexpr int kIndent = 2;
    using Json = nlohmann::ordered_json;
    console.write(document.dump(kIndent, ' ', false, Json::error_handler_t::replace) + "\n");
}
