#pragma once

#include <CLI/CLI.hpp>

#include <string>

// How a command's help is laid out.

namespace qx::tool {

// Descriptions in lines that fit the terminal, those of options and commands in a column of their own; a word for what
// an option takes, its range, what it is when left out, and the option that it needs.
class Help : public CLI::Formatter {
public:
    Help();
    std::string make_description(const CLI::App* command) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_footer(const CLI::App* command) const override;

private:
    std::string inColumn(const std::string& description) const;
};

}  // namespace qx::tool
