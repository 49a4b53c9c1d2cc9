// Failures of the host program, each with the exit code it ends in.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qva {

/// Exit codes of the program. A signal ends it as it would any program, for a shell with 128 and
/// the signal's number.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitMisused = 2;
constexpr int exitInput = 3;
constexpr int exitOutput = 4;
constexpr int exitProfile = 5;

/// @return a line a code, for people.
std::string ExitCodeTable();

/// A failure whose text reads "NAME: reason" and names the file or option.
class Error : public std::runtime_error {
public:
    Error(int exitCode, const std::string& name, const std::string& reason);
    Error(int exitCode, const std::string& text);

    int ExitCode() const noexcept { return exitCode_; }

protected:
    void SetExitCode(int exitCode) { exitCode_ = exitCode; }

private:
    int exitCode_;
};

/// The work could not be done. Most failures are those of a picture that is read; what fails for
/// another reason says so by its code.
class Failure : public Error {
public:
    Failure(const std::string& name, const std::string& reason, int exitCode = exitInput);

    /// The same failure with the place it happened at in parentheses.
    Failure(const Failure& failure, const std::string& place);

    /// The same failure at a stored row of a picture.
    Failure(const Failure& failure, std::int64_t row);

    /// The same failure, with the code of what it really is about.
    Failure As(int exitCode) const;

    /// @return -1 where the failure is not that of a row.
    std::int64_t Row() const noexcept { return row_; }

private:
    std::int64_t row_ = -1;
};

/// The program was asked for something that makes no sense. Exit code 2.
class Misuse : public Error {
public:
    Misuse(const std::string& name, const std::string& reason);
};

/// The operating system's words for an errno value, in lower case.
std::string SystemReason(int errorNumber);

/// "cannot be written: " and why, with what can be done about it.
std::string WriteReason(int errorNumber);

/// @return text with every control character (line ends too) replaced by a space, so that a
///         message stays on one line whatever a file name or a library puts into it.
std::string OneLine(std::string text);

/// Writes on standard error. What cannot be written there (it is closed, its reader is gone, its
/// disk is full) is lost, and the work goes on.
void Say(const std::string& text) noexcept;

} // namespace qva
