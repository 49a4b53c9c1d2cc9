#include "base/progress.h"

#include "base/errors.h"

#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace qva {

Progress::Progress(ProgressStyle style)
    : style_(style == ProgressStyle::Terminal && isatty(STDERR_FILENO) != 1 ? ProgressStyle::None
                                                                            : style)
{
}

Progress::~Progress()
{
    Clear();
}

void Progress::Show(std::string_view stage, double share)
{
    if (style_ == ProgressStyle::Terminal) {
        ShowLine(share < 0.0 ? fmt::format("{} ...", stage)
                             : fmt::format("{} {:3.0f} %", stage, share * 100.0));
    }
    if (style_ != ProgressStyle::Json) {
        return;
    }
    // A line a second is enough for a program, but every stage is told.
    const auto now = std::chrono::steady_clock::now();
    if (stage == stage_ && now - told_ < std::chrono::seconds(1) && share < 1.0) {
        return;
    }
    stage_ = stage;
    told_ = now;
    if (share < 0.0) {
        Say(fmt::format("{{\"stage\":\"{}\"}}\n", stage));
    } else {
        Say(fmt::format("{{\"stage\":\"{}\",\"share\":{:.4f}}}\n", stage, share));
    }
}

void Progress::ShowBands(const BandsDone& bands)
{
    const double speed = bands.seconds > 0.0 ? bands.megapixels / bands.seconds : 0.0;
    const double left = bands.share > 0.0 ? bands.seconds * (1.0 - bands.share) / bands.share : 0.0;
    if (style_ == ProgressStyle::Terminal) {
        std::string line = fmt::format("band {} of {}", bands.done, bands.all);
        if (speed > 0.0) {
            line += fmt::format(", {:.1f} megapixels/s, {} left", speed, ClockOf(left));
        }
        ShowLine(std::move(line));
    } else if (style_ == ProgressStyle::Json) {
        Say(fmt::format(
            "{{\"stage\":\"bands\",\"done\":{},\"all\":{},\"megapixelsPerSecond\":{:.2f},"
            "\"secondsLeft\":{:.1f}}}\n",
            bands.done, bands.all, speed, left));
        stage_ = "bands";
    }
}

void Progress::ShowLine(std::string line)
{
    if (line != shown_) {
        // The sequence clears what is left of a longer line.
        Say("\r" + line + "\x1b[K");
        std::fflush(stderr);
        shown_ = std::move(line);
    }
}

void Progress::Clear()
{
    if (!shown_.empty()) {
        Say("\r\x1b[K");
        std::fflush(stderr);
        shown_.clear();
    }
}

std::string ClockOf(double seconds)
{
    const auto all = static_cast<long long>(std::ceil(seconds));
    if (all >= 3600) {
        return fmt::format("{}:{:02}:{:02}", all / 3600, all / 60 % 60, all % 60);
    }
    return fmt::format("{}:{:02}", all / 60, all % 60);
}

} // namespace qva
