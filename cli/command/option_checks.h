// Checks of what stands behind an option, each with a message for people.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// Accepts finite decimal numbers of a range.
CLI::Validator Number(double lowest, double highest);

CLI::Validator WholeNumber(int lowest, int highest);

CLI::Validator OneOf(const std::vector<std::string>& words);

CLI::Validator NotEmpty();

/// Accepts numbers of bytes with nothing, K or KB (10^3), M or MB (10^6), G or GB (10^9), T or TB
/// (10^12) behind them, up to 10^15.
CLI::Validator ByteCount(std::uint64_t least);

/// @return nothing for text that is no such number from 1 on.
std::optional<std::uint64_t> ParseByteCount(const std::string& text);

} // namespace qva
