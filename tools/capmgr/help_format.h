/*
 * How --help is laid out: as the parser does it, but in lines that fit on a terminal of 80 columns.
 */
#ifndef CAPMGR_HELP_FORMAT_H
#define CAPMGR_HELP_FORMAT_H

#include <CLI/CLI.hpp>
#include <string>

class HelpFormat : public CLI::Formatter {
  public:
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_footer(const CLI::App* app) const override;
};

#endif
