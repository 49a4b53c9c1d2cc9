#include "base/errors.h"
#include "command/documents.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <fmt/format.h>
#include <lumo/qva.h>

namespace qva {

namespace {

/// Text as roff takes it: no line begins with a dot, no backslash or hyphen means something else.
std::string Escaped(const std::string& text)
{
    std::string out;
    for (const char letter : text) {
        if (letter == '\\') {
            out += "\\e";
        } else if (letter == '-') {
            out += "\\-";
        } else if ((letter == '.' || letter == '\'') && (out.empty() || out.back() == '\n')) {
            out += "\\&";
            out += letter;
        } else {
            out += letter;
        }
    }
    return out;
}

/// A paragraph whose lines stay as they are.
std::string AsTyped(const std::string& text)
{
    return text.empty() ? "" : ".nf\n" + Escaped(text) + "\n.fi\n";
}

std::string Upper(std::string text)
{
    for (char& letter : text) {
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    }
    return text;
}

std::string OptionParagraph(const OptionText& option)
{
    std::string label =
        option.argument.empty()
            ? fmt::format("\\fB{}\\fR", Escaped(fmt::format("{}", fmt::join(option.names, ", "))))
            : fmt::format("\\fI{}\\fR", Escaped(option.argument));
    if (!option.value.empty() && option.argument.empty()) {
        label += fmt::format(" \\fI{}\\fR", Escaped(option.value));
    }
    return fmt::format(".TP\n{}\n{}\n", label, Escaped(option.help));
}

std::string Options(const CLI::App& command)
{
    std::string text;
    std::string group;
    for (const OptionText& option : OptionsOf(command)) {
        const std::string heading = option.argument.empty() ? option.group : "Arguments";
        if (heading != group) {
            text += fmt::format(".SS {}\n", Escaped(heading));
            group = heading;
        }
        text += OptionParagraph(option);
    }
    return text;
}

std::string Synopsis(const CLI::App& command)
{
    std::string text = fmt::format("\\fBqva {}\\fR [\\fIOPTION\\fR ...]", command.get_name());
    for (const OptionText& option : OptionsOf(command)) {
        if (!option.argument.empty()) {
            text += fmt::format(" \\fI{}\\fR", Escaped(option.argument));
        } else if (option.isRequired) {
            text += fmt::format(" \\fB{}\\fR \\fI{}\\fR", Escaped(option.names.front()),
                                Escaped(option.value));
        }
    }
    return text + "\n";
}

std::string Head(const std::string& name, const std::string& what)
{
    return fmt::format(".TH {} 1 \"\" \"qva {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n",
                       Escaped(Upper(name)), QVA_VERSION_STRING, Escaped(name), Escaped(what));
}

std::string CommandPage(const CLI::App& command)
{
    return Head("qva-" + command.get_name(), command.get_description()) + ".SH SYNOPSIS\n" +
           Synopsis(command) + ".SH OPTIONS\n" + Options(command) + ".SH DESCRIPTION\n" +
           AsTyped(command.get_footer()) + ".SH EXIT STATUS\n" + AsTyped(ExitCodeTable()) +
           ".SH SEE ALSO\n\\fBqva\\fR(1)\n";
}

std::string ProgramPage(const CLI::App& app)
{
    std::string page = Head("qva", "print high-dynamic-range photographs") +
                       ".SH SYNOPSIS\n\\fBqva\\fR \\fICOMMAND\\fR [\\fIOPTION\\fR ...]\n"
                       ".SH DESCRIPTION\n" +
                       AsTyped(app.get_description()) + ".SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        page += fmt::format(".TP\n\\fBqva\\-{}\\fR(1)\n{}\n", Escaped(command->get_name()),
                            Escaped(command->get_description()));
    }
    return page + ".SH EXAMPLES AND EXIT STATUS\n" + AsTyped(app.get_footer());
}

} // namespace

std::string ManualPage(const CLI::App& app, const CLI::App* command)
{
    return command == nullptr ? ProgramPage(app) : CommandPage(*command);
}

} // namespace qva
