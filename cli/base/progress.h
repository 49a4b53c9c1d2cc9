// Tells how far the work is: a line on the terminal, or lines for a program.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace qva {

enum class ProgressStyle {
    Terminal, ///< one line that changes, while standard error is a terminal
    Json,     ///< an object a line on standard error
    None
};

/// How far the bands of a page are.
struct BandsDone {
    std::int64_t done = 0;
    std::int64_t all = 0;
    double megapixels = 0.0; ///< rendered by this run
    double seconds = 0.0;    ///< since its first band
    double share = 0.0;      ///< of what this run had to render, 0 ... 1
};

/// Shows stages on standard error.
class Progress {
public:
    explicit Progress(ProgressStyle style);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param share  of the stage that is done, 0 ... 1; below 0 where it cannot be told.
    void Show(std::string_view stage, double share);

    void ShowBands(const BandsDone& bands);

    /// Clears the line, so that a message can be written.
    void Clear();

private:
    void ShowLine(std::string line);

    ProgressStyle style_;
    std::string shown_;
    std::string stage_; ///< the last that was told as JSON
    std::chrono::steady_clock::time_point told_;
};

/// @return for people: 0:07, 12:30, 1:02:03.
std::string ClockOf(double seconds);

} // namespace qva
