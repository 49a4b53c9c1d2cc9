// Options of every command that renders: print, preview and page.
#pragma once

#include "command/shared_options.h"
#include "formats/row_writer.h"
#include "page/page_run.h"

#include <string>

namespace qva {

struct PrintOptions {
    PhotoOptions photo;
    std::string profile; ///< empty: the built-in one
    RenderSettings render;
    int threads = 0; ///< 0: one per core
    std::string output;
    std::string sideBySide; ///< empty: none
    WriteSettings write;
    bool keepsMetadata = true;
    bool noClobber = false;
    bool quiet = false;
    bool verbose = false;
};

void AddPrintOptions(CLI::App& app, PrintOptions& options);

/// How a picture is rendered, and for which paper.
void AddRenderOptions(CLI::App& app, std::string& profile, RenderSettings& render, int& threads);

/// @throws Misuse where an output is the other file, or would be.
/// @param what  the other file is, for people: "the photograph".
void RefuseSameFile(const std::string& output, const std::string& other, const char* what);

/// What only all options together can tell.
/// @throws Misuse.
void FinishPrint(PrintOptions& options);

/// @throws Misuse where an output is one of the inputs, or two outputs are one file.
/// @throws Failure where an output exists that is to be kept.
void CheckNames(const PrintOptions& options);

/// What a result states about its paper; nothing for a preview.
std::optional<RenderedFor> PaperOf(const PrinterProfile& profile, const RenderSettings& render);

/// How to write, with the resolution of the source where none is asked for, and what of its
/// metadata stays true of a print.
WriteSettings SettingsFor(const PrintOptions& options, const SourceDescription& source);

/// What a page's run takes from the options, for a picture that has been looked at.
PageRequest RequestFor(const PrintOptions& options, const SourceDescription& source);

} // namespace qva
