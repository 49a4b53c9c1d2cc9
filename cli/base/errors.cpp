#include "base/errors.h"

#include <cctype>
#include <cstdio>
#include <system_error>

namespace qva {

Error::Error(int exitCode, const std::string& name, const std::string& reason)
    : std::runtime_error(name + ": " + reason), exitCode_(exitCode)
{
}

Error::Error(int exitCode, const std::string& text) : std::runtime_error(text), exitCode_(exitCode)
{
}

Failure::Failure(const std::string& name, const std::string& reason)
    : Error(exitFailed, name, reason)
{
}

Failure::Failure(const Failure& failure, const std::string& place)
    : Error(failure.ExitCode(), std::string(failure.what()) + " (" + place + ")")
{
}

Failure::Failure(const Failure& failure, std::int64_t row)
    : Error(failure.ExitCode(), failure.what()), row_(row)
{
}

Misuse::Misuse(const std::string& name, const std::string& reason)
    : Error(exitMisused, name, reason)
{
}

std::string SystemReason(int errorNumber)
{
    std::string reason = std::generic_category().message(errorNumber);
    if (!reason.empty()) {
        reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    }
    return reason;
}

std::string OneLine(std::string text)
{
    for (char& letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code < 0x20 || code == 0x7f) {
            letter = ' ';
        }
    }
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

void Say(const std::string& text) noexcept
{
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace qva
