#include "command/documents.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace qva {

namespace {

/// The words that OneOf allows, which it bears as its name.
std::vector<std::string> WordsOf(const CLI::Option& option)
{
    std::vector<std::string> words;
    try {
        // The parser gives validators to owners of options that may change them only.
        std::istringstream names(const_cast<CLI::Option&>(option).get_validator(0)->get_name());
        for (std::string word; names >> word;) {
            words.push_back(word);
        }
    } catch (const CLI::OptionNotFound&) {
        // Anything may stand behind it.
    }
    return words;
}

} // namespace

bool OptionText::TakesFile() const
{
    return value.starts_with("FILE") || value.starts_with("FOLDER") || names.empty();
}

std::vector<OptionText> OptionsOf(const CLI::App& command)
{
    std::vector<OptionText> options;
    for (const CLI::Option* option : command.get_options()) {
        OptionText text;
        for (const std::string& name : option->get_snames()) {
            text.names.push_back("-" + name);
        }
        for (const std::string& name : option->get_lnames()) {
            text.names.push_back("--" + name);
        }
        text.argument = option->get_positional() ? option->get_single_name() : "";
        text.value = option->get_items_expected_max() > 0 ? option->get_type_name() : "";
        text.words = WordsOf(*option);
        text.help = option->get_description();
        text.group = option->get_group();
        text.isRequired = option->get_required();
        options.push_back(std::move(text));
    }
    return options;
}

} // namespace qva
