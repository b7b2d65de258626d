#include "json_output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace {

std::string textOf(const nlohmann::ordered_json& document, int indent) {
    using Json = nlohmann::ordered_json;
    return document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

void addJsonOption(CLI::App& command, bool& wanted) {
    command.add_flag("--json", wanted, "print JSON, for programs")->disable_flag_override();
}

void writeJson(Console& console, const nlohmann::ordered_json& document) {
    constexpr int kIndent = 2;
    console.write(textOf(document, kIndent));
}

void writeJsonLine(Console& console, const nlohmann::ordered_json& document) {
    constexpr int kOneLine = -1;
    console.write(textOf(document, kOneLine));
}
