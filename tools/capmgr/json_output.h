/* Data for programs: what a command prints with --json in place of its text for people. */
#ifndef CAPMGR_JSON_OUTPUT_H
#define CAPMGR_JSON_OUTPUT_H

#include <nlohmann/json_fwd.hpp>

#include "console.h"

namespace CLI {
class App;
}

/* Adds --json, which sets `wanted`. */
void addJsonOption(CLI::App& command, bool& wanted);

/* Writes one document. Names are in lower case with underscores and bear their units; text that is
 * not UTF-8 is mended with the replacement character. */
void writeJson(Console& console, const nlohmann::ordered_json& document);

/* The same in one line: for documents of which more may follow. */
void writeJsonLine(Console& console, const nlohmann::ordered_json& document);

#endif
