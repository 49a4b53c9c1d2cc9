// Another program, run beside this one.
#pragma once

#include "base/descriptor.h"

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace qva {

/// A program that a signal ended has this and the signal's number as its exit code, as for a shell.
constexpr int exitSignal = 128;

/// What a program that ended leaves.
struct ChildResult {
    int exitCode = 0;
    std::string output;
    std::string messages;         ///< on standard error
    std::uint64_t peakMemory = 0; ///< bytes
};

/// This program once more, with other arguments. It reads nothing, and it gets a request to end
/// when this one ends in whatever way.
class ChildProcess {
public:
    /// @param words  behind the program's name.
    /// @param mask   signals that are blocked in it.
    /// @param kept   a descriptor that stays open in it.
    /// @throws Failure where it cannot be started.
    ChildProcess(const std::vector<std::string>& words, const sigset_t& mask, int kept);
    ChildProcess(ChildProcess&& other) noexcept = default;
    ChildProcess& operator=(ChildProcess&& other) noexcept = default;

    void Signal(int number) const;

    /// @return nothing while it runs. To be called no more once it has ended.
    std::optional<ChildResult> Result() const;

private:
    pid_t id_ = 0;
    Descriptor output_;
    Descriptor messages_;
};

} // namespace qva
