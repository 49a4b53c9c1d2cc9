// The command line.
#pragma once

#include "base/progress.h"
#include "colour/colour_interpretation.h"
#include "formats/image_writer.h"
#include "page/band_plan.h"
#include "page/page_job.h"
#include "page/page_result.h"
#include "render/renderer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// Bytes a page may take where the user does not say.
constexpr std::uint64_t defaultMaxMemory = 1000000000;

/// Options of print and preview.
struct PrintOptions {
    std::string photo;
    std::string output;
    std::string profile;    ///< empty: the built-in one
    std::string sideBySide; ///< empty: none
    SourceOptions source;
    RenderSettings render;
    WriteSettings write;
    SizeLimits limits;
    std::optional<std::uint64_t> maxMemory; ///< bytes; what the machine has where not given
    bool quiet = false;
    bool verbose = false;
};

/// Options of page.
struct PageOptions {
    PrintOptions print;
    std::uint64_t maxMemory = defaultMaxMemory;
    std::optional<std::int64_t> bandLines;
    std::optional<Direction> direction; ///< what the picture's orientation suggests
    std::optional<Share> share;         ///< the whole page where not given
    Continuation continuation = Continuation::Refuse;
    ProgressStyle progress = ProgressStyle::Terminal;
    bool json = false;
    bool dryRun = false;
};

/// Options of join.
struct JoinOptions {
    std::vector<std::string> shares;
    std::string output;
    int threads = 0;
    ProgressStyle progress = ProgressStyle::Terminal;
    bool json = false;
};

/// Options of info.
struct InfoOptions {
    std::string photo;
    SourceOptions source;
    double threshold = defaultThreshold;
    SizeLimits limits;
    bool json = false;
};

enum class Command { Help, Print, Preview, Page, Join, Info };

struct CommandLine {
    Command command = Command::Help;
    std::string text; ///< for Command::Help: what is to be shown
    PrintOptions print;
    PageOptions page;
    JoinOptions join;
    InfoOptions info;
};

/// Reads the arguments of main().
/// @throws Misuse for anything that is not understood.
CommandLine ParseCommandLine(int count, const char* const* arguments);

/// Renders for print, or for preview where options.render.preview is set.
void RunPrint(const PrintOptions& options);

/// Renders a page band by band.
void RunPage(const PageOptions& options);

/// Puts the shares of a page together.
void RunJoin(const JoinOptions& options);

/// Shows what was found in a picture.
void RunInfo(const InfoOptions& options);

} // namespace qva
