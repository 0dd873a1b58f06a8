// How the help of all the programs is written: an option, its values and its text in two columns
// that fit a terminal of 80. The manual pages and the completion of the shell are made from it.
#ifndef TOOLS_SUPPORT_HELPFORMAT_H
#define TOOLS_SUPPORT_HELPFORMAT_H

#include <CLI/CLI.hpp>
#include <string>

class HelpFormat : public CLI::Formatter
{
public:
    // "-p, --partitions".
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override;

    // What follows the name: " PORT", " [PORT]" where it may be left out, " PATH ..." where it may
    // be repeated, " none|file" for one of these words.
    std::string make_option_opts(const CLI::Option* option) const override;

    // The option's text, wrapped, with what is allowed and what holds without the option.
    std::string make_option_desc(const CLI::Option* option) const override;
};

#endif  // TOOLS_SUPPORT_HELPFORMAT_H
