#include "help_format.h"

#include <sstream>

namespace {

constexpr std::size_t kColumns = 80;

/* With line ends between words, for lines that begin at this column. A longer word stands alone. */
std::string wrapped(const std::string& text, std::size_t column) {
    std::string lines;
    std::size_t used = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const bool fits = used + 1 + word.size() <= kColumns - column;
        if (used > 0) {
            lines += fits ? ' ' : '\n';
        }
        used = used > 0 && fits ? used + 1 + word.size() : word.size();
        lines += word;
    }
    return lines;
}

}  // namespace

std::string HelpFormat::make_option(const CLI::Option* option, bool isPositional) const {
    std::ostringstream out;
    CLI::detail::format_help(out, make_option_name(option, isPositional) + make_option_opts(option),
                             wrapped(make_option_desc(option), get_column_width()),
                             get_column_width());
    return out.str();
}

std::string HelpFormat::make_subcommand(const CLI::App* command) const {
    std::ostringstream out;
    CLI::detail::format_help(out, command->get_display_name(true),
                             wrapped(command->get_description(), get_column_width()),
                             get_column_width());
    return out.str();
}

std::string HelpFormat::make_footer(const CLI::App* app) const {
    std::istringstream paragraphs(app->get_footer());
    std::string lines;
    for (std::string paragraph; std::getline(paragraphs, paragraph);) {
        lines += wrapped(paragraph, 0) + "\n";
    }
    return lines;
}
