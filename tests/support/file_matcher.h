// A colour matcher that answers from a file: its five functions, as the library imports them.
#pragma once

#include <string>

namespace lumo::test {

/// Loads the answers: 4,913 XYZ triples of 16-bit codes in node order (node i is code
/// trunc(i * 65535 / 16), first channel slowest), then the triple of the black pixel. With an empty
/// path every profile is rejected.
void LoadFileMatcher(const std::string& path);

/// Counts of calls, and failures to order.
struct FileMatcherState {
    int created = 0;
    int disposed = 0;
    int terminated = 0;
    bool failRelease = false;
};
FileMatcherState& FileMatcher();

} // namespace lumo::test
