#include "base/errors.h"

#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <system_error>

namespace qva {

Error::Error(int exitCode, const std::string& name, const std::string& reason)
    : std::runtime_error(name + ": " + reason), exitCode_(exitCode)
{
}

Error::Error(int exitCode, const std::string& text) : std::runtime_error(text), exitCode_(exitCode)
{
}

Failure::Failure(const std::string& name, const std::string& reason, int exitCode)
    : Error(exitCode, name, reason)
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

Failure Failure::As(int exitCode) const
{
    Failure other = *this;
    other.SetExitCode(exitCode);
    return other;
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

std::string WriteReason(int errorNumber)
{
    const struct {
        int number;
        const char* cure;
    } cures[] = {
        {ENOENT, "make its folder first"},
        {EACCES, "write to a folder that is yours"},
        {EROFS, "write to another disk"},
        {ENOSPC, "free some, or write to another disk"},
        {EDQUOT, "free some, or write to another disk"},
    };
    const std::string reason = "cannot be written: " + SystemReason(errorNumber);
    for (const auto& entry : cures) {
        if (entry.number == errorNumber) {
            return reason + "; " + entry.cure;
        }
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
    // A pipe whose reader is gone: the signal for it comes to this thread, and is taken back. One
    // that somebody sends ends the program as ever.
    sigset_t pipe;
    sigset_t before;
    sigset_t waiting;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    sigemptyset(&waiting);
    sigpending(&waiting);
    const bool isSaid = std::fwrite(text.data(), 1, text.size(), stderr) == text.size();
    if (!isSaid && errno == EPIPE && sigismember(&waiting, SIGPIPE) == 0) {
        const timespec atOnce{};
        sigtimedwait(&pipe, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

std::string ExitCodeTable()
{
    return "  0      done\n"
           "  1      failed: memory ran out, or a picture cannot be rendered as asked; of a batch, "
           "some pictures\n"
           "  2      misused: the command line makes no sense, by itself or for this picture\n"
           "  3      a picture cannot be read, or is refused\n"
           "  4      a result cannot be written, or is there already and to be kept\n"
           "  5      a profile cannot be read or used\n"
           "  128+n  ended by signal n: 130 by Ctrl-C, 143 by a request to end\n";
}

} // namespace qva
