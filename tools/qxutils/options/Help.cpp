#include "options/Help.h"

#include "text/Terminal.h"
#include "text/TextStream.h"
#include "text/TextWidth.h"

#include <algorithm>

namespace qx::tool {
namespace {

// Two blanks, which the manual pages need, stand between every option that is not longer and what it is for.
constexpr std::size_t kColumn = 31;

// A column that is narrower is of no use to a reader.
constexpr int kLeastWidth = 20;

// Each of the text's own lines in as many as it takes.
std::string inLines(const std::string& text, int width) {
    const auto most = static_cast<std::size_t>(std::max(width, kLeastWidth));
    std::string lines;
    for (std::size_t begin = 0, end = 0; begin <= text.size(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.size());
        lines.append(begin > 0 ? "\n" : "").append(joined(wrapText(text.substr(begin, end - begin), most), "\n"));
    }
    return lines;
}

// What an option takes, such as N, FILE or {bash,zsh}; nothing of a flag, nor of a positional whose name tells it.
std::string placeholderOf(const CLI::Option& option) {
    const std::string type = option.get_type_size() == 0 ? "" : option.get_type_name();
    if (option.get_positional() && !type.starts_with('{'))
        return "";
    const std::string word = type.substr(0, type.find(':'));
    return word == "INT" || word == "UINT" ? "N" : word == "FLOAT" ? "X" : word;
}

// "1 to 64" of a type such as "INT:1 to 64".
std::string rangeOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t end = type.find(':');
    return end == std::string::npos ? "" : type.substr(end + 1);
}

}  // namespace

Help::Help() {
    column_width(kColumn);
}

std::string Help::make_description(const CLI::App* command) const {
    return inLines(command->get_description(), terminalWidth()) + "\n";
}

std::string Help::make_option_opts(const CLI::Option* option) const {
    std::string text;
    if (const std::string placeholder = placeholderOf(*option); !placeholder.empty())
        text.append(" ").append(placeholder);
    if (option->get_expected_max() == CLI::detail::expected_max_vector_size)
        text += " ...";
    if (option->get_required())
        text += " REQUIRED";
    return text;
}

std::string Help::make_option_desc(const CLI::Option* option) const {
    std::string more = rangeOf(*option);
    const auto add = [&more](const std::string& text) { more.append(more.empty() ? "" : ", ").append(text); };
    if (!option->get_default_str().empty())
        add(option->get_default_str() + " when left out");
    for (const CLI::Option* needed : option->get_needs())
        add("needs " + needed->get_name());
    return inColumn(option->get_description() + (more.empty() ? "" : " (" + more + ")"));
}

std::string Help::make_subcommand(const CLI::App* command) const {
    TextStream out;
    CLI::detail::format_help(out, command->get_name(), inColumn(command->get_description()), get_column_width());
    return out.str();
}

std::string Help::make_footer(const CLI::App* command) const {
    return inLines(command->get_footer(), terminalWidth()) + "\n";
}

std::string Help::inColumn(const std::string& description) const {
    return inLines(description, terminalWidth() - static_cast<int>(get_column_width()));
}

}  // namespace qx::tool
