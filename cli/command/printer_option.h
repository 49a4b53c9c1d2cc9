// --printer: the settings of a preset in the place of options that are not given.
#pragma once

#include "render/render_settings.h"

#include <CLI/CLI.hpp>
#include <string>

namespace qva {

struct PrintOptions;

/// Belongs to one command, whose other options it looks at.
class PrinterOption {
public:
    void Add(CLI::App& app);

    /// Applies what the preset says about the paper.
    /// @throws Failure as FindPreset.
    void Apply(std::string& profile, RenderSettings& render) const;

    /// And about the page.
    void Apply(PrintOptions& options) const;

    /// And about the ink.
    void ApplyInkLimit(double& percent) const;

private:
    bool IsGiven(const char* option) const;

    const CLI::App* app_ = nullptr;
    std::string name_;
};

} // namespace qva
