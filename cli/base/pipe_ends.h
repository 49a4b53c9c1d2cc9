// Standard input and output in the place of files: spooled, as pictures are read and written out of
// order and more than once.
#pragma once

#include "base/temporary_name.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace qva {

class ScratchFile;

/// The name that stands for standard input or output.
constexpr const char* pipeName = "-";

/// What a command reads and writes under a name, "-" included. Lives as long as the work on it.
class PipeEnds {
public:
    PipeEnds();
    ~PipeEnds();
    PipeEnds(const PipeEnds&) = delete;
    PipeEnds& operator=(const PipeEnds&) = delete;

    /// Copies standard input to a nameless file where the name is "-".
    /// @param most  bytes that are taken at most.
    /// @return the name to read from.
    /// @throws Failure where there is more, or no room for it.
    std::string Input(const std::string& name, std::uint64_t most);

    /// @param ending  of the result's format.
    /// @return the name to write to; for "-" one that is removed with this.
    std::string Output(const std::string& name, const std::string& ending);

    /// Copies what was written for "-" to standard output.
    void Send();

private:
    std::unique_ptr<ScratchFile> input_;
    std::optional<TemporaryName> output_;
};

/// @return text with the names that PipeEnds gave replaced by what they stand for.
std::string ForPeople(std::string text);

} // namespace qva
