#include "option_values.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace {

constexpr double kMaxSeconds = 86400.0;

template <typename Number, typename... Base>
std::optional<Number> parseNumber(std::string_view text, Base... base) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base...);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

template <typename Number>
Number numberWithin(const std::string& option, const std::string& text, Number least, Number most) {
    const std::optional<Number> value = parseNumber<Number>(text);
    if (!value || *value < least || *value > most) {
        throw CLI::ValidationError(
            option, fmt::format("'{}' is not a whole number from {} to {}", text, least, most));
    }
    return *value;
}

}  // namespace

unsigned int parseWholeNumber(const std::string& option, const std::string& text,
                              unsigned int least, unsigned int most) {
    return numberWithin(option, text, least, most);
}

CAP_SIZE parseSize(const std::string& option, const std::string& text) {
    const std::string::size_type cross = text.find('x');
    const std::string_view all = text;
    const auto width = parseNumber<std::uint32_t>(all.substr(0, cross));
    const auto height = cross == std::string::npos
                            ? std::nullopt
                            : parseNumber<std::uint32_t>(all.substr(cross + 1));
    if (!width || !height) {
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is not WIDTHxHEIGHT, such as 1280x720", text));
    }
    return {*width, *height};
}

// The comparison is written so that a NaN, which from_chars reads, is refused as well.
double parseSeconds(const std::string& option, const std::string& text) {
    const std::optional<double> seconds = parseNumber<double>(text);
    if (!seconds || !(*seconds > 0.0 && *seconds <= kMaxSeconds)) {
        throw CLI::ValidationError(
            option,
            fmt::format("'{}' is not a number above 0 and at most {:.0f}", text, kMaxSeconds));
    }
    return *seconds;
}

std::uint32_t parseWindow(const std::string& option, const std::string& text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto number = hexadecimal ? parseNumber<std::uint32_t>(text.substr(2), 16)
                                    : parseNumber<std::uint32_t>(text);
    if (number.value_or(0) == 0) {
        throw CLI::ValidationError(
            option,
            fmt::format("'{}' is not a window's number, such as 12582924 or 0xc0000c", text));
    }
    return *number;
}

std::string parsePath(const std::string& option, const std::string& text) {
    if (text.empty()) {
        throw CLI::ValidationError(option, "the name is empty");
    }
    return text;
}

std::string parseChoice(const std::string& option, const std::string& text,
                        const std::vector<std::string>& choices) {
    if (std::find(choices.begin(), choices.end(), text) == choices.end()) {
        throw CLI::ValidationError(option, fmt::format("'{}' is not {}", text, listed(choices)));
    }
    return text;
}

int parseTraceLevel(const std::string& option, const std::string& text) {
    return numberWithin(option, text, -1, 3);
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const char* const separator = index + 1 == names.size() ? " or " : ", ";
        text += (index == 0 ? "" : separator) + names[index];
    }
    return text;
}
