// Options of every command that renders: print, preview and page.
#pragma once

#include "base/pipe_ends.h"
#include "colour/device_output.h"
#include "command/printer_option.h"
#include "command/shared_options.h"
#include "command/size_options.h"
#include "formats/row_writer.h"
#include "page/page_run.h"

#include <memory>
#include <optional>
#include <string>

namespace qva {

/// Whether and how device values are written.
struct DeviceOptions {
    bool isWanted = false;
    std::optional<int> bits; ///< of a sample, 8 or 16; 16 where not given
};

struct PrintOptions {
    PhotoOptions photo;
    std::string profile; ///< empty: the built-in one
    RenderSettings render;
    int threads = 0; ///< 0: one per core
    std::string output;
    std::string pipeEnding = ".tif"; ///< of a result on standard output
    std::string sideBySide;          ///< empty: none
    WriteSettings write;
    bool keepsMetadata = true;
    DeviceOptions device;
    SizeOptions size;
    PrinterOption printer;
    bool noClobber = false;
    bool dryRun = false;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
};

void AddPrintOptions(CLI::App& app, PrintOptions& options);

/// Those of them that say how a picture is read, rendered and written, but not which and where.
void AddRenderingOptions(CLI::App& app, PrintOptions& options);
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

/// Whether results can be written under such names.
/// @param sheet  of the side-by-side sheet; empty for none.
/// @throws Misuse.
void CheckWriting(const PrintOptions& options, const std::string& output, const std::string& sheet);

/// Puts the names of files in the place of "-": standard input is read whole here.
/// @param pipes  must live as long as the work on the picture.
void OpenPipes(PrintOptions& options, PipeEnds& pipes);

void AddDeviceOptions(CLI::App& app, DeviceOptions& device);

/// @throws Misuse where the options do not fit each other.
void CheckDevice(const DeviceOptions& device, const std::string& output, Compression compression);

/// What becomes of codes; nothing where no device values are wanted.
/// @throws Failure for a profile without tables both ways.
std::shared_ptr<const DeviceOutput> DeviceOf(const DeviceOptions& options,
                                             const PrinterProfile& profile,
                                             const DeviceIntent& intent, const std::string& name);

/// Adds to the settings what a result states about its paper, and device values where wanted; a
/// preview has neither.
void SetPaper(const PrinterProfile& profile, PrintOptions& options);

/// How to write, with the resolution of the source where none is asked for, and what of its
/// metadata stays true of a print.
WriteSettings SettingsFor(const PrintOptions& options, const SourceDescription& source);

/// What a page's run takes from the options, for a picture that has been looked at.
PageRequest RequestFor(const PrintOptions& options, const SourceDescription& source);

} // namespace qva
