// Runs of rows of any length, made runs of a length that suits the work on them.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace qva {

/// Hands rows on in runs of a fixed length, but for the last. Rows that come in such runs are not
/// copied.
class RowGatherer {
public:
    using Use = std::function<void(const std::uint16_t* codes, std::int64_t count)>;

    /// @param samples  of a row.
    /// @param rows     of the whole picture.
    /// @param atOnce   rows of a run.
    RowGatherer(std::int64_t samples, std::int64_t rows, std::int64_t atOnce, Use use);

    void Add(const std::uint16_t* codes, std::int64_t count);

    std::int64_t AtOnce() const { return atOnce_; }

private:
    std::int64_t samples_;
    std::int64_t left_; ///< rows that are not handed on yet
    std::int64_t atOnce_;
    Use use_;
    std::vector<std::uint16_t> waiting_;
};

} // namespace qva
