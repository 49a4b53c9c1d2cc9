#include "progress.h"

#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace qva {

Progress::Progress(bool wanted) : active_(wanted && isatty(STDERR_FILENO) == 1)
{
}

Progress::~Progress()
{
    Clear();
}

void Progress::Show(std::string_view stage, double share)
{
    if (!active_) {
        return;
    }
    std::string line = share < 0.0 ? fmt::format("{} ...", stage)
                                   : fmt::format("{} {:3.0f} %", stage, share * 100.0);
    if (line != shown_) {
        // The sequence clears what is left of a longer line.
        fmt::print(stderr, "\r{}\x1b[K", line);
        std::fflush(stderr);
        shown_ = std::move(line);
    }
}

void Progress::Clear()
{
    if (!shown_.empty()) {
        fmt::print(stderr, "\r\x1b[K");
        std::fflush(stderr);
        shown_.clear();
    }
}

} // namespace qva
