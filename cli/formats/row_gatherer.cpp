#include "formats/row_gatherer.h"

#include <algorithm>
#include <utility>

namespace qva {

RowGatherer::RowGatherer(std::int64_t samples, std::int64_t rows, std::int64_t atOnce, Use use)
    : samples_(samples), left_(rows), atOnce_(atOnce), use_(std::move(use))
{
}

void RowGatherer::Add(const std::uint16_t* codes, std::int64_t count)
{
    while (count > 0) {
        const auto lines = static_cast<std::int64_t>(waiting_.size()) / samples_;
        const std::int64_t run = std::min(atOnce_, left_);
        const std::int64_t taken = std::min(run - lines, count);
        const bool isCopied = lines > 0 || taken < run;
        if (isCopied) {
            waiting_.insert(waiting_.end(), codes, codes + taken * samples_);
        }
        if (lines + taken == run) {
            use_(isCopied ? waiting_.data() : codes, run);
            waiting_.clear();
            left_ -= run;
        }
        codes += taken * samples_;
        count -= taken;
    }
}

} // namespace qva
