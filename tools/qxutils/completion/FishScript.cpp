#include "completion/Scripts.h"

#include "text/TextWidth.h"

#include <ostream>
#include <string_view>

namespace qx::tool {
namespace {

constexpr const char* kHead = R"(# Completes the commands and options of qxutils in fish.

# The command that the line got to, such as "check first".
function __qxutils_command
    set -l command
    set -l words (commandline -opc)
    for word in $words[2..-1]
        set -l further (string join -- ' ' $command $word)
        if contains -- $further $__qxutils_commands
            set command $further
        end
    end
    echo "$command"
end

function __qxutils_at
    test (__qxutils_command) = "$argv"
end

function __qxutils_below
    set -l command (__qxutils_command)
    test "$command" = "$argv"; or string match -q -- "$argv *" $command
end

)";

std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char sign : text) {
        if (sign == '\'' || sign == '\\')
            result += '\\';
        result += sign;
    }
    return result + "'";
}

void writeNames(std::ostream& out, const DescribedCommand& command) {
    if (!command.path.empty())
        out << ' ' << quoted(joined(command.path));
    for (const DescribedCommand& below : command.commands)
        writeNames(out, below);
}

// Nothing, or the words that may stand there instead of a file.
std::string choices(const DescribedOption& option, const char* noFiles) {
    return option.choices.empty() ? "" : std::string(noFiles) + " -a " + quoted(joined(option.choices));
}

void writeOption(std::ostream& out, const DescribedCommand& command, const DescribedOption& option) {
    const std::string path = joined(command.path);
    if (option.isPositional) {
        if (!option.choices.empty())
            out << "complete -c qxutils -n \"__qxutils_at " << path << "\"" << choices(option, " -f") << '\n';
        return;
    }
    out << "complete -c qxutils" << (path.empty() ? "" : " -n \"__qxutils_below " + path + "\"");
    for (const std::string& name : option.names)
        out << (name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1));
    if (option.takesValue)
        out << " -r" << choices(option, " -f");
    out << " -d " << quoted(option.description) << '\n';
}

void writeCommand(std::ostream& out, const DescribedCommand& command) {
    for (const DescribedOption& option : command.options)
        writeOption(out, command, option);
    for (const DescribedCommand& below : command.commands) {
        out << "complete -c qxutils -n \"__qxutils_at " << joined(command.path) << "\" -f -a " << below.name() << " -d "
            << quoted(below.description) << '\n';
    }
    for (const DescribedCommand& below : command.commands)
        writeCommand(out, below);
}

}  // namespace

void writeFishScript(std::ostream& out, const DescribedCommand& program) {
    out << kHead << "set -g __qxutils_commands";
    writeNames(out, program);
    out << "\n\n";
    writeCommand(out, program);
}

}  // namespace qx::tool
