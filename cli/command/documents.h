// Manual pages and completions, from the options that the parser knows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qva {

/// One option as documents show it.
struct OptionText {
    std::vector<std::string> names; ///< "-o", "--output"; none for an argument
    std::string argument;           ///< of a positional one: "PHOTO"
    std::string value;              ///< "FILE"; empty for a flag
    std::vector<std::string> words; ///< that are allowed; empty where any are
    std::string help;
    std::string group;
    bool isRequired = false;

    /// Whether what stands behind it is the name of a file or folder.
    bool TakesFile() const;
};

/// The options of a command in the order of its help.
std::vector<OptionText> OptionsOf(const CLI::App& command);

/// @return the page of the program, or of one of its commands, for man(7).
std::string ManualPage(const CLI::App& app, const CLI::App* command);

/// @param app  the program with all commands.
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);
std::string FishCompletion(const CLI::App& app);

} // namespace qva
