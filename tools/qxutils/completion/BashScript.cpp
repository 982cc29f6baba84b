#include "completion/Scripts.h"

#include "text/TextWidth.h"

#include <ostream>

namespace qx::tool {
namespace {

constexpr const char* kHead = R"(# Completes the commands and options of qxutils in bash.

# Sets what may follow the command $1.
_qxutils_describe() {
    commands='' words='' flags='' valued=''
    case "$1" in
)";

constexpr const char* kChoices = R"(    esac
}

# Sets what may follow the option $2 of the command $1.
_qxutils_choose() {
    case "$1 $2" in
)";

constexpr const char* kTail = R"(    esac
}

_qxutils() {
    local command='' commands words flags valued choices='' index word
    local current="${COMP_WORDS[COMP_CWORD]}" previous="${COMP_WORDS[COMP_CWORD - 1]}"
    [[ $current == '=' ]] && current=''
    [[ $previous == '=' ]] && previous="${COMP_WORDS[COMP_CWORD - 2]}"
    _qxutils_describe ''
    for ((index = 1; index < COMP_CWORD; index++)); do
        word="${COMP_WORDS[index]}"
        if [[ " $valued " == *" $word "* ]]; then
            [[ ${COMP_WORDS[index + 1]} == '=' ]] && ((index++))
            ((index++))
        elif [[ " $commands " == *" $word "* ]]; then
            command+=" $word"
            _qxutils_describe "$command"
        fi
    done
    if [[ " $valued " == *" $previous "* ]]; then
        _qxutils_choose "$command" "$previous"
    elif [[ $current == -* ]]; then
        choices="$flags $valued"
    else
        choices="$commands $words"
    fi
    [[ -z ${choices// /} ]] || compopt +o default 2>/dev/null
    COMPREPLY=($(compgen -W "$choices" -- "$current"))
}

complete -o default -F _qxutils qxutils
)";

// What _qxutils keeps of the commands passed on the way: every word behind a blank.
std::string keyOf(const DescribedCommand& command) {
    return command.path.empty() ? "" : " " + joined(command.path);
}

// A variable of the names of those options that it is for.
template <class IsMeant>
std::string assignment(const char* variable, const std::vector<DescribedOption>& options, IsMeant isMeant) {
    std::vector<std::string> names;
    for (const DescribedOption& option : options) {
        if (!option.isPositional && isMeant(option))
            names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return std::string(" ") + variable + "='" + joined(names) + "'";
}

void writeCommand(std::ostream& out, const DescribedCommand& command, const std::vector<DescribedOption>& above) {
    const std::vector<DescribedOption> options = withInherited(command, above);
    std::vector<std::string> commands;
    std::vector<std::string> words;
    for (const DescribedCommand& below : command.commands)
        commands.push_back(below.name());
    for (const DescribedOption& option : command.options) {
        if (option.isPositional)
            words.insert(words.end(), option.choices.begin(), option.choices.end());
    }
    out << "    '" << keyOf(command) << "') commands='" << joined(commands) << "' words='" << joined(words) << "'"
        << assignment("flags", options, [](const DescribedOption& option) { return !option.takesValue; })
        << assignment("valued", options, [](const DescribedOption& option) { return option.takesValue; }) << " ;;\n";
    for (const DescribedCommand& below : command.commands)
        writeCommand(out, below, options);
}

void writeChoices(std::ostream& out, const DescribedCommand& command) {
    for (const DescribedOption& option : command.options) {
        for (const std::string& name : option.names) {
            if (!option.isPositional && !option.choices.empty())
                out << "    '" << keyOf(command) << "'*' " << name << "') choices='" << joined(option.choices)
                    << "' ;;\n";
        }
    }
    for (const DescribedCommand& below : command.commands)
        writeChoices(out, below);
}

}  // namespace

void writeBashScript(std::ostream& out, const DescribedCommand& program) {
    out << kHead;
    writeCommand(out, program, {});
    out << kChoices;
    writeChoices(out, program);
    out << kTail;
}

}  // namespace qx::tool
