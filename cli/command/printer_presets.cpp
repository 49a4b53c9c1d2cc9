#include "command/printer_presets.h"

#include "base/errors.h"
#include "colour/profile_search.h"
#include "command/size_options.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>
#include <utility>

namespace qva {

namespace {

using Json = nlohmann::json;

constexpr std::string_view ending = ".json";

std::size_t LineAt(std::string_view text, std::size_t place)
{
    return 1 + static_cast<std::size_t>(std::count(
                   text.begin(),
                   text.begin() + static_cast<std::ptrdiff_t>(std::min(place, text.size())), '\n'));
}

/// One file, and where in it what is wrong stands.
class PresetReader {
public:
    PresetReader(std::string path, std::string text)
        : path_(std::move(path)), text_(std::move(text))
    {
        try {
            root_ = Json::parse(text_);
        } catch (const Json::parse_error& error) {
            const std::size_t place = error.byte > 0 ? error.byte - 1 : 0;
            throw Failure(path_, fmt::format("line {}: is no JSON", LineAt(text_, place)));
        }
        if (!root_.is_object()) {
            throw Failure(path_, "line 1: a preset is an object, in braces");
        }
    }

    /// @throws Failure for a field that has another name than these.
    void CheckNames(const std::vector<std::string>& known) const
    {
        for (const auto& [name, value] : root_.items()) {
            if (std::find(known.begin(), known.end(), name) == known.end()) {
                Refuse(name, fmt::format("is not one of {}", fmt::join(known, ", ")));
            }
        }
    }

    std::optional<std::string> Text(const std::string& name) const
    {
        const Json* value = Find(name);
        if (value != nullptr && (!value->is_string() || value->get<std::string>().empty())) {
            Refuse(name, "is to be text");
        }
        return value != nullptr ? std::optional(value->get<std::string>()) : std::nullopt;
    }

    std::optional<std::string> Word(const std::string& name,
                                    const std::vector<std::string>& words) const
    {
        const std::optional<std::string> text = Text(name);
        if (text && std::find(words.begin(), words.end(), *text) == words.end()) {
            Refuse(name, fmt::format("is to be {}", fmt::join(words, " or ")));
        }
        return text;
    }

    std::optional<double> Number(const std::string& name, double lowest, double highest) const
    {
        const Json* value = Find(name);
        if (value == nullptr) {
            return std::nullopt;
        }
        if (!value->is_number() || value->get<double>() < lowest || value->get<double>() > highest)
        {
            Refuse(name, fmt::format("is to be a number from {} to {}", lowest, highest));
        }
        return value->get<double>();
    }

    std::optional<bool> Truth(const std::string& name) const
    {
        const Json* value = Find(name);
        if (value != nullptr && !value->is_boolean()) {
            Refuse(name, "is to be true or false");
        }
        return value != nullptr ? std::optional(value->get<bool>()) : std::nullopt;
    }

    [[noreturn]] void Refuse(const std::string& name, const std::string& reason) const
    {
        const std::size_t place = text_.find('"' + name + '"');
        throw Failure(path_, fmt::format("line {}: {} {}",
                                         LineAt(text_, place == std::string::npos ? 0 : place),
                                         name, reason));
    }

private:
    const Json* Find(const std::string& name) const
    {
        const auto found = root_.find(name);
        return found != root_.end() ? &*found : nullptr;
    }

    std::string path_;
    std::string text_;
    Json root_;
};

std::string PresetText(const std::string& path)
{
    constexpr std::uint64_t most = 1 << 20;
    if (SizeOfRegularFile(path) > most) {
        throw Failure(path, "is larger than 1 MiB and no preset");
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        throw Failure(path, "cannot be read");
    }
    return text.str();
}

std::string ProfileBeside(const std::string& preset, const std::string& name)
{
    const std::filesystem::path beside = std::filesystem::path(preset).parent_path() / name;
    std::error_code error;
    return std::filesystem::exists(beside, error) ? beside.string() : FindProfile(name);
}

void ReadPage(const PresetReader& file, PrinterPreset& preset)
{
    preset.size = file.Text("size");
    if (preset.size && !ParsePageSize(*preset.size)) {
        file.Refuse("size", "is to be such as 30x20cm: width x height in mm, cm or in");
    }
    preset.bleed = file.Text("bleed");
    if (preset.bleed && !ParseLength(*preset.bleed)) {
        file.Refuse("bleed", "is to be such as 3mm: a length in mm, cm or in");
    }
    preset.fit = file.Word("fit", {"contain", "cover"});
    preset.dpi = file.Number("dpi", 1.0, 100000.0);
    if (!preset.size && (preset.bleed || preset.fit)) {
        file.Refuse(preset.bleed ? "bleed" : "fit", "belongs to a size");
    }
    if (preset.bleed && preset.fit == "contain") {
        file.Refuse("bleed", "is beyond the page, which fit contain does not fill");
    }
}

} // namespace

PrinterPreset ReadPreset(const std::string& path)
{
    const PresetReader file(path, PresetText(path));
    file.CheckNames({"description", "profile", "intent", "blackPointCompensation", "paperWhite",
                     "inkLimit", "size", "bleed", "fit", "dpi"});
    PrinterPreset preset;
    preset.path = path;
    preset.description = file.Text("description").value_or("");
    const std::optional<std::string> profile = file.Text("profile");
    if (!profile) {
        throw Failure(path, "line 1: profile is missing");
    }
    preset.profile = ProfileBeside(path, *profile);
    std::error_code error;
    if (!std::filesystem::exists(preset.profile, error)) {
        file.Refuse("profile", fmt::format("{}: there is no such file here or where profiles are "
                                           "kept",
                                           *profile));
    }
    preset.intent = file.Word("intent", {"relative", "saturation"});
    preset.blackPointCompensation = file.Truth("blackPointCompensation");
    const std::optional<double> white = file.Number("paperWhite", 100.0, 400.0);
    if (white && *white != 100.0 && *white != 200.0 && *white != 400.0) {
        file.Refuse("paperWhite", "is to be 100, 200 or 400");
    }
    preset.paperWhite = white ? std::optional(static_cast<int>(*white)) : std::nullopt;
    preset.inkLimit = file.Number("inkLimit", 0.0, 1500.0);
    ReadPage(file, preset);
    return preset;
}

std::string PresetFolder()
{
    const char* chosen = std::getenv("XDG_CONFIG_HOME");
    if (chosen != nullptr && *chosen != '\0') {
        return std::string(chosen) + "/qva/printers";
    }
    const char* home = std::getenv("HOME");
    return std::string(home != nullptr ? home : ".") + "/.config/qva/printers";
}

std::vector<std::string> PresetNames(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error))
    {
        if (file->path().extension() == ending) {
            names.push_back(file->path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

PrinterPreset FindPreset(const std::string& name)
{
    if (name.ends_with(ending)) {
        return ReadPreset(name);
    }
    const std::vector<std::string> names = PresetNames(PresetFolder());
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        throw Failure(name, names.empty()
                                ? fmt::format("there are no printers in {}", PresetFolder())
                                : fmt::format("is none of the printers in {}: {}", PresetFolder(),
                                              fmt::join(names, ", ")));
    }
    return ReadPreset(PresetFolder() + "/" + name + std::string(ending));
}

} // namespace qva
