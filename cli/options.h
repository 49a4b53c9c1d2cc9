// The command line.
#pragma once

#include "colour_interpretation.h"
#include "image_writer.h"
#include "renderer.h"

#include <cstdint>
#include <string>

namespace qva {

/// Pixels a picture may have where the user does not say: 6 GB in the library's form.
constexpr std::uint64_t defaultMaxPixels = 1000000000;

/// Options of print and preview.
struct PrintOptions {
    std::string photo;
    std::string output;
    std::string profile;    ///< empty: the built-in one
    std::string sideBySide; ///< empty: none
    SourceOptions source;
    RenderSettings render;
    WriteSettings write;
    std::uint64_t maxPixels = defaultMaxPixels;
    bool quiet = false;
    bool verbose = false;
};

/// Options of info.
struct InfoOptions {
    std::string photo;
    SourceOptions source;
    double threshold = defaultThreshold;
    std::uint64_t maxPixels = defaultMaxPixels;
    bool json = false;
};

enum class Command { Help, Print, Preview, Info };

struct CommandLine {
    Command command = Command::Help;
    std::string text; ///< for Command::Help: what is to be shown
    PrintOptions print;
    InfoOptions info;
};

/// Reads the arguments of main().
/// @throws Misuse for anything that is not understood.
CommandLine ParseCommandLine(int count, const char* const* arguments);

/// Renders for print, or for preview where options.render.preview is set.
void RunPrint(const PrintOptions& options);

/// Shows what was found in a picture.
void RunInfo(const InfoOptions& options);

} // namespace qva
