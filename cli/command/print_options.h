// Options of every command that renders: print, preview and page.
#pragma once

#include "base/pipe_ends.h"
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
    std::string pipeEnding = ".tif"; ///< of a result on standard output
    std::string sideBySide;          ///< empty: none
    WriteSettings write;
    bool noClobber = false;
    bool dryRun = false;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
};

void AddPrintOptions(CLI::App& app, PrintOptions& options);

/// Those of them that say how a picture is read, rendered and written, but not which and where.
void AddRenderingOptions(CLI::App& app, PrintOptions& options);

/// What only all options together can tell.
/// @throws Misuse.
void FinishPrint(PrintOptions& options);

/// @throws Misuse where an output is one of the inputs, or two outputs are one file.
/// @throws Failure where an output exists that is to be kept.
void CheckNames(const PrintOptions& options);

/// Whether results can be written under such names.
/// @param sheet  of the side-by-side sheet; empty for none.
/// @throws Misuse.
void CheckWriting(const WriteSettings& write, const std::string& output, const std::string& sheet);

/// Puts the names of files in the place of "-": standard input is read whole here.
/// @param pipes  must live as long as the work on the picture.
void OpenPipes(PrintOptions& options, PipeEnds& pipes);

/// How to write, with the resolution of the source where none is asked for.
WriteSettings SettingsFor(const WriteSettings& write, const SourceDescription& source);

/// What a page's run takes from the options, for a picture that has been looked at.
PageRequest RequestFor(const PrintOptions& options, const SourceDescription& source);

} // namespace qva
