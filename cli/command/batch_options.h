// Options of the commands that print many pictures: batch and watch.
#pragma once

#include "batch/print_queue.h"
#include "command/print_options.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

struct BatchOptions {
    PrintOptions print; ///< of every picture; its names are not used
    NamePatterns names;
    int jobs = 0;                ///< 0: one per core
    std::uint64_t maxMemory = 0; ///< bytes for all jobs; 0: most of what the machine has
    bool force = false;
    bool json = false;
    bool quiet = false;
    std::vector<std::string> words;               ///< what every print is given
    std::vector<const CLI::Option*> printOptions; ///< of the parser; only until it has ended
};

/// The options of a print, -o, --name, --jobs and --max-memory for all, --json and --quiet.
void AddBatchOptions(CLI::App& app, BatchOptions& options);

/// Takes down the options of a print that were given, and checks those of both commands.
/// @throws Misuse.
void FinishBatch(BatchOptions& options);

/// Makes the folder of the prints, where it is not there.
/// @throws Failure.
void MakeFolder(const std::string& path);

/// A file beside the prints.
std::string FileOf(const std::string& folder, const std::string& name);

/// Writes to standard output what would be printed.
/// @param journal  the name of the file of records, which need not be there.
void TellPlan(const char* command, const QueueSettings& settings, const std::string& journal,
              const std::vector<PrintJob>& jobs, bool json);

/// How a queue works: as many jobs as memory has room for, each on its share of the cores.
QueueSettings SettingsOf(const BatchOptions& options, std::vector<std::string> words);

} // namespace qva
