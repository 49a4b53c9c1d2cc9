#include "command/option_checks.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace qva {

CLI::Validator Number(double lowest, double highest)
{
    const auto check = [lowest, highest](std::string& text) -> std::string {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || !std::isfinite(value)) {
            return fmt::format("'{}' is not a number", text);
        }
        if (value < lowest || value > highest) {
            return fmt::format("{} is not between {} and {}", text, lowest, highest);
        }
        return {};
    };
    return CLI::Validator(check, "");
}

CLI::Validator WholeNumber(int lowest, int highest)
{
    const auto check = [lowest, highest](std::string& text) -> std::string {
        if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
            return fmt::format("'{}' is not a whole number", text);
        }
        const bool fits = text.size() < 10;
        if (!fits || std::stoi(text) < lowest || std::stoi(text) > highest) {
            return fmt::format("{} is not between {} and {}", text, lowest, highest);
        }
        return {};
    };
    return CLI::Validator(check, "");
}

CLI::Validator OneOf(const std::vector<std::string>& words)
{
    const auto check = [words](std::string& text) -> std::string {
        if (std::find(words.begin(), words.end(), text) == words.end()) {
            return fmt::format("'{}' is not one of {}", text, fmt::join(words, ", "));
        }
        return {};
    };
    // Completions offer the words by its name.
    return CLI::Validator(check, "", fmt::format("{}", fmt::join(words, " ")));
}

CLI::Validator NotEmpty()
{
    return CLI::Validator(
        [](const std::string& text) {
            return text.empty() ? std::string("a file is missing") : std::string();
        },
        "");
}

CLI::Validator ByteCount(std::uint64_t least)
{
    const auto check = [least](std::string& text) -> std::string {
        const std::optional<std::uint64_t> bytes = ParseByteCount(text);
        if (!bytes) {
            return fmt::format("'{}' is not a number of bytes, such as 800M or 1G", text);
        }
        if (*bytes < least) {
            return fmt::format("{} is below the least that is needed, {}M", text, least / 1000000);
        }
        return {};
    };
    return CLI::Validator(check, "");
}

std::optional<std::uint64_t> ParseByteCount(const std::string& text)
{
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const std::string unit = end;
    const double factor = unit.empty()                  ? 1.0
                          : unit == "K" || unit == "KB" ? 1e3
                          : unit == "M" || unit == "MB" ? 1e6
                          : unit == "G" || unit == "GB" ? 1e9
                          : unit == "T" || unit == "TB" ? 1e12
                                                        : 0.0;
    const double bytes = number * factor;
    if (text.empty() || !(bytes >= 1.0) || bytes > 1e15) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(bytes);
}

} // namespace qva
