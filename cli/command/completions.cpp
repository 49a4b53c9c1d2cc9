#include "command/documents.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace qva {

namespace {

std::string Replace(std::string text, const std::string& what, const std::string& with)
{
    for (std::size_t place = 0; (place = text.find(what, place)) != std::string::npos;
         place += with.size())
    {
        text.replace(place, what.size(), with);
    }
    return text;
}

/// Between single quotes of a shell.
std::string Quoted(const std::string& text)
{
    return Replace(text, "'", "'\\''");
}

std::string Commands(const CLI::App& app)
{
    std::string names;
    for (const CLI::App* command : app.get_subcommands({})) {
        names += command->get_name() + " ";
    }
    return names + "help";
}

/// Patterns of a case of the shell: command:option.
std::string Patterns(const std::string& command, const OptionText& option)
{
    std::string text;
    for (const std::string& name : option.names) {
        text += (text.empty() ? "" : " | ") + command + ":" + name;
    }
    return text;
}

std::string BashCommand(const CLI::App& command, std::string& values)
{
    std::string names;
    for (const OptionText& option : OptionsOf(command)) {
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : " ") + name;
        }
        if (!option.words.empty()) {
            values +=
                fmt::format("        {}) words='{}' ;;\n", Patterns(command.get_name(), option),
                            fmt::join(option.words, " "));
        } else if (!option.value.empty() && !option.TakesFile()) {
            values += fmt::format("        {}) return ;;\n", Patterns(command.get_name(), option));
        } else if (!option.value.empty() && !option.names.empty()) {
            values += fmt::format("        {}) compopt -o default; return ;;\n",
                                  Patterns(command.get_name(), option));
        }
    }
    return fmt::format("        {}:-*) words='{}' ;;\n", command.get_name(), names);
}

/// An argument of _arguments: brackets and colons end its parts.
std::string ZshOption(const OptionText& option)
{
    std::string help = Quoted(option.help);
    for (const char* letter : {"[", "]", ":"}) {
        help = Replace(help, letter, std::string("\\") + letter);
    }
    if (option.names.empty()) {
        return fmt::format("            '*:{}:_files'", option.argument);
    }
    const std::string action = !option.words.empty()
                                   ? fmt::format(":({})", fmt::join(option.words, " "))
                               : option.TakesFile() ? ":_files"
                                                    : ": ";
    std::string text;
    for (const std::string& name : option.names) {
        text += text.empty() ? "" : " \\\n";
        text += fmt::format("            '{}{}[{}]{}'", name,
                            option.value.empty()     ? ""
                            : name.starts_with("--") ? "="
                                                     : "+",
                            help, option.value.empty() ? "" : ":" + Quoted(option.value) + action);
    }
    return text;
}

std::string FishOption(const std::string& command, const OptionText& option)
{
    std::string text = fmt::format("complete -c qva -n '__fish_seen_subcommand_from {}'", command);
    for (const std::string& name : option.names) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.words.empty()) {
        text += fmt::format(" -x -a '{}'", fmt::join(option.words, " "));
    } else if (!option.value.empty()) {
        text += option.TakesFile() ? " -r -F" : " -x";
    }
    return fmt::format("{} -d '{}'\n", text,
                       Replace(Replace(option.help, "\\", "\\\\"), "'", "\\'"));
}

} // namespace

std::string BashCompletion(const CLI::App& app)
{
    std::string values;
    std::string options;
    for (const CLI::App* command : app.get_subcommands({})) {
        options += BashCommand(*command, values);
    }
    return fmt::format(
        "# Completes the arguments of qva in bash.\n"
        "_qva() {{\n"
        "    local cur=${{COMP_WORDS[COMP_CWORD]}} prev=${{COMP_WORDS[COMP_CWORD - 1]}}\n"
        "    local words= command=${{COMP_WORDS[1]}}\n"
        "    COMPREPLY=()\n"
        "    ((COMP_CWORD == 1)) && command=qva prev=help\n"
        "    case $command:$prev in\n"
        "        *:help) words='{}' ;;\n"
        "{}"
        "        *) case $command:$cur in\n"
        "{}"
        "        *) compopt -o default; return ;;\n"
        "        esac ;;\n"
        "    esac\n"
        "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$cur\")\n"
        "}}\n"
        "complete -F _qva qva\n",
        Commands(app), values, options);
}

std::string ZshCompletion(const CLI::App& app)
{
    std::string commands;
    std::string cases;
    for (const CLI::App* command : app.get_subcommands({})) {
        commands += fmt::format("        '{}:{}'\n", command->get_name(),
                                Quoted(command->get_description()));
        cases += fmt::format("    {})\n        _arguments", command->get_name());
        for (const OptionText& option : OptionsOf(*command)) {
            cases += " \\\n" + ZshOption(option);
        }
        cases += "\n        ;;\n";
    }
    return fmt::format("#compdef qva\n"
                       "# Completes the arguments of qva in zsh.\n"
                       "_qva() {{\n"
                       "    local -a commands=(\n{}        'help:Show the options of a command'\n"
                       "    )\n"
                       "    if ((CURRENT == 2)) || [[ ${{words[2]}} == help ]]; then\n"
                       "        _describe command commands\n"
                       "        return\n"
                       "    fi\n"
                       "    local command=${{words[2]}}\n"
                       "    shift words\n"
                       "    ((--CURRENT))\n"
                       "    case $command in\n{}    esac\n"
                       "}}\n"
                       "_qva \"$@\"\n",
                       commands, cases);
}

std::string FishCompletion(const CLI::App& app)
{
    const std::string names = Commands(app);
    std::string text = fmt::format("# Completes the arguments of qva in fish.\n"
                                   "complete -c qva -n '__fish_seen_subcommand_from help' -f -a "
                                   "'{}'\n",
                                   names);
    for (const CLI::App* command : app.get_subcommands({})) {
        text += fmt::format("complete -c qva -n 'not __fish_seen_subcommand_from {}' -f -a {} -d "
                            "'{}'\n",
                            names, command->get_name(),
                            Replace(command->get_description(), "'", "\\'"));
        for (const OptionText& option : OptionsOf(*command)) {
            if (!option.names.empty()) {
                text += FishOption(command->get_name(), option);
            }
        }
    }
    return text;
}

} // namespace qva
