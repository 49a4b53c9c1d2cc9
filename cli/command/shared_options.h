// Options that several commands have.
#pragma once

#include "base/progress.h"
#include "colour/colour_interpretation.h"
#include "light/light_plan.h"
#include "picture/source_description.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>

namespace qva {

/// A picture, and how it is to be read.
struct PhotoOptions {
    std::string path;
    SourceOptions source;
    LightOptions light;
    SizeLimits limits;
};

void AddPhotoOptions(CLI::App& app, PhotoOptions& photo);

/// The same without the picture's name.
void AddReadingOptions(CLI::App& app, PhotoOptions& photo);

CLI::Option* AddThreadsOption(CLI::App& app, int& threads);

/// @param keep  set where outputs that exist are to be kept; the command asks EnsureNew then.
CLI::Option* AddNoClobberOption(CLI::App& app, bool& keep);

CLI::Option* AddJsonOption(CLI::App& app, bool& json);

CLI::Option* AddDryRunOption(CLI::App& app, bool& dryRun);

/// Bytes that are taken from standard input at most: no picture of so many pixels has more.
std::uint64_t MostPipedBytes(const SizeLimits& limits);

void AddProgressOption(CLI::App& app, ProgressStyle& style);

/// A finite number between two others, both allowed; the last one given holds.
CLI::Option* AddNumber(CLI::App& app, const std::string& name, const std::string& help,
                       double lowest, double highest, const std::function<void(double)>& take);

} // namespace qva
