#include "completion/Scripts.h"

#include "text/TextWidth.h"

#include <ostream>
#include <string_view>

namespace qx::tool {
namespace {

// Within single quotes, and with those signs escaped that end a part of an argument's description.
std::string quoted(std::string_view text) {
    std::string result;
    for (const char sign : text) {
        if (sign == '\'')
            result += "'\\'";
        else if (std::string_view(":[]\\").find(sign) != std::string_view::npos)
            result += '\\';
        result += sign;
    }
    return result;
}

std::string functionOf(const DescribedCommand& command) {
    return command.path.empty() ? "_qxutils" : "_qxutils_" + joined(command.path, "_");
}

std::string valueOf(const DescribedOption& option) {
    return option.choices.empty() ? "_files" : "(" + joined(option.choices) + ")";
}

void writeOption(std::ostream& out, const DescribedOption& option) {
    if (option.isPositional) {
        out << " \\\n        '*:" << quoted(option.description) << ":" << valueOf(option) << "'";
        return;
    }
    for (const std::string& name : option.names) {
        const bool isLong = name.starts_with("--");
        out << " \\\n        '" << name << (option.takesValue && isLong ? "=" : "") << "[" << quoted(option.description)
            << "]" << (option.takesValue ? ":value:" + valueOf(option) : "") << "'";
    }
}

// Only the first positional argument is described: a function may have one for all that remain.
void writeOptions(std::ostream& out, const std::vector<DescribedOption>& options) {
    bool hasPositional = false;
    for (const DescribedOption& option : options) {
        if (!option.isPositional || !hasPositional)
            writeOption(out, option);
        hasPositional = hasPositional || option.isPositional;
    }
}

void writeCommandList(std::ostream& out, const DescribedCommand& command) {
    out << " \\\n        '1:command:->command' '*::argument:->argument'\n"
           "    case $state in\n"
           "    command)\n"
           "        local -a below=(";
    for (const DescribedCommand& below : command.commands)
        out << "\n            '" << below.name() << ":" << quoted(below.description) << "'";
    out << ")\n"
           "        _describe command below\n"
           "        ;;\n"
           "    argument) (( $+functions["
        << functionOf(command) << "_$line[1]] )) && " << functionOf(command)
        << "_$line[1] ;;\n"
           "    esac\n";
}

void writeFunction(std::ostream& out, const DescribedCommand& command, const std::vector<DescribedOption>& above) {
    const std::vector<DescribedOption> options = withInherited(command, above);
    for (const DescribedCommand& below : command.commands)
        writeFunction(out, below, options);
    out << functionOf(command) << "() {\n"
        << "    local curcontext=\"$curcontext\" context state state_descr line\n"
           "    typeset -A opt_args\n"
           "    _arguments -C :";
    writeOptions(out, options);
    if (command.commands.empty())
        out << '\n';
    else
        writeCommandList(out, command);
    out << "}\n\n";
}

}  // namespace

void writeZshScript(std::ostream& out, const DescribedCommand& program) {
    out << "#compdef qxutils\n\n";
    writeFunction(out, program, {});
    out << "_qxutils \"$@\"\n";
}

}  // namespace qx::tool
