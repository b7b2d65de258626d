/*
 * The values of options, from the texts that the user typed.
 *
 * Each function throws CLI::ValidationError, which names the option, for a text that makes no sense
 * on any machine.
 */
#ifndef CAPMGR_OPTION_VALUES_H
#define CAPMGR_OPTION_VALUES_H

#include <cstdint>
#include <string>
#include <vector>

#include "CaptureManager.h"

/* A whole number within the two limits. */
unsigned int parseWholeNumber(const std::string& option, const std::string& text,
                              unsigned int least, unsigned int most);

/* "1280x720", in pixels. A side of 0 passes: refusing it belongs where the monitor's size can be
 * named. */
CAP_SIZE parseSize(const std::string& option, const std::string& text);

/* Above 0, at most a day. */
double parseSeconds(const std::string& option, const std::string& text);

/* A window's number, not 0: decimal, or hexadecimal as programs of the display server print it. */
std::uint32_t parseWindow(const std::string& option, const std::string& text);

/* A name of a file or directory, not empty. */
std::string parsePath(const std::string& option, const std::string& text);

/* One of a few words, of which there are two at least. */
std::string parseChoice(const std::string& option, const std::string& text,
                        const std::vector<std::string>& choices);

/* How much trace to show, from -1 to 3. */
int parseTraceLevel(const std::string& option, const std::string& text);

/* "a, b or c" */
std::string listed(const std::vector<std::string>& names);

#endif
