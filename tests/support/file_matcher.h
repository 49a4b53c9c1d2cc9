// A colour matcher that answers from a file: its five functions, as the library imports them.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <rvx32p.h>
#include <string>
#include <vector>

namespace lumo::test {

/// Loads the answers: 4,913 XYZ triples of 16-bit codes in node order (node i is code
/// trunc(i * 65535 / 16), first channel slowest), then the triple of the black pixel. With an empty
/// path every profile is rejected.
void LoadFileMatcher(const std::string& path);

using Triple = std::array<uint16_t, 3>;

/// Counts of calls and what they were given; failures and answers to order.
struct FileMatcherState {
    int created = 0;
    int disposed = 0;
    int terminated = 0;
    bool failInitialize = false;
    bool failRelease = false;
    std::function<Triple(const Triple&)> answer; ///< instead of the file, for any colour
    RvxProfileDescriptor descriptors[3] = {};    ///< of the last transform, as are the next three
    uint32_t version = 0;
    uint32_t flags = 0;
    uint16_t intent = 0;
    std::vector<Triple> asked; ///< every colour, in order
};
FileMatcherState& FileMatcher();

} // namespace lumo::test
