// What --json writes, in the one form that share/qva/output.schema.json describes.
#pragma once

#include "base/json_text.h"

#include <string>
#include <string_view>
#include <vector>

namespace qva {

/// Raised with every change that a program which reads it could stumble over; new members are none.
constexpr int outputVersion = 1;

/// What became of what was asked for.
constexpr std::string_view statusDone = "done";
constexpr std::string_view statusPlanned = "planned"; ///< --dry-run
constexpr std::string_view statusFailed = "failed";

/// Opens the object of a command's output. The caller adds what the command has to tell.
void BeginOutput(JsonWriter& json, std::string_view command, std::string_view status);

/// Adds what the user should know.
void AddRemarks(JsonWriter& json, const std::vector<std::string>& remarks);

/// Closes it and writes it to standard output.
void EndOutput(JsonWriter& json);

/// Writes the output of a command that failed.
void PrintFailure(std::string_view command, int exitCode, const std::string& message);

} // namespace qva
