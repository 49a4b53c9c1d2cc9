// Printers and papers by name: files of settings that belong together.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qva {

/// What a preset says; unset where it says nothing.
struct PrinterPreset {
    std::string path;
    std::string description;
    std::string profile;               ///< the file, found
    std::optional<std::string> intent; ///< of --intent
    std::optional<bool> blackPointCompensation;
    std::optional<int> paperWhite;   ///< cd/m²: 100, 200 or 400
    std::optional<double> inkLimit;  ///< percent
    std::optional<std::string> size; ///< of --size
    std::optional<std::string> bleed;
    std::optional<std::string> fit;
    std::optional<double> dpi;
};

/// Reads a JSON file. A profile is a file beside it, an absolute name, or one of FindProfile.
/// @throws Failure which names the line, and the field where it is about one.
PrinterPreset ReadPreset(const std::string& path);

/// The folder of presets: printers/ in the qva folder of XDG_CONFIG_HOME, else of ~/.config.
std::string PresetFolder();

/// The names of all presets of a folder, in alphabetical order; none where there is no folder.
std::vector<std::string> PresetNames(const std::string& folder);

/// @param name  without .json, in PresetFolder(); or a file, where it ends so.
/// @throws Failure where there is none, which names those that there are.
PrinterPreset FindPreset(const std::string& name);

} // namespace qva
