#include "segmentation/label_regions.h"

#include "core/vector.h"

#include <algorithm>

namespace lumo {
namespace {

// Pixels first ... last - 1 of a row with one label.
struct Run {
    int32_t first;
    int32_t last;
    int32_t label;
    int32_t parent; // towards the first run of the region, by index
};

// Regions as trees of runs whose root is the region's first run in raster order: the same regions
// and the same order as growing each from its first pixel.
class RunForest {
public:
    explicit RunForest(const Matrix& labels)
        : runs_(CountRuns(labels)), rowStart_(static_cast<uint64_t>(labels.rows) + 1)
    {
        for (int32_t y = 0; y < labels.rows; ++y) {
            rowStart_[y] = count_;
            AddRow(RowOf<int32_t>(labels, y), labels.cols);
            rowStart_[y + 1] = count_;
            if (y > 0) {
                JoinRows(y);
            }
        }
    }

    int32_t Root(int32_t run)
    {
        while (runs_[run].parent != run) {
            runs_[run].parent = runs_[runs_[run].parent].parent;
            run = runs_[run].parent;
        }
        return run;
    }
    // The run of row y that holds column x.
    int32_t At(int32_t y, int32_t x) const
    {
        const Run* begin = runs_.data + rowStart_[y];
        const Run* end = runs_.data + rowStart_[y + 1];
        const Run* after = std::upper_bound(
            begin, end, x, [](int32_t col, const Run& run) { return col < run.first; });
        return static_cast<int32_t>(after - runs_.data) - 1;
    }
    const Run& operator[](int32_t run) const { return runs_[run]; }
    int32_t RowStart(int32_t y) const { return rowStart_[y]; }
    int32_t Count() const { return count_; }

private:
    static uint64_t CountRuns(const Matrix& labels)
    {
        uint64_t count = 0;
        for (int32_t y = 0; y < labels.rows; ++y) {
            const auto* label = RowOf<int32_t>(labels, y);
            uint64_t changes = 0;
            for (int32_t x = 1; x < labels.cols; ++x) {
                changes += label[x] != label[x - 1] ? 1 : 0;
            }
            count += changes + 1;
        }
        return count;
    }
    void AddRow(const int32_t* label, int32_t cols)
    {
        for (int32_t x = 0; x < cols;) {
            const int32_t first = x;
            while (x < cols && label[x] == label[first]) {
                ++x;
            }
            runs_[count_] = {first, x, label[first], count_};
            ++count_;
        }
    }
    void JoinRows(int32_t y)
    {
        int32_t upper = rowStart_[y - 1];
        int32_t lower = rowStart_[y];
        const int32_t upperEnd = lower;
        const int32_t lowerEnd = count_;
        while (upper < upperEnd && lower < lowerEnd) {
            if (runs_[upper].label == runs_[lower].label) {
                Join(upper, lower);
            }
            const int32_t upperLast = runs_[upper].last;
            const int32_t lowerLast = runs_[lower].last;
            upper += upperLast <= lowerLast ? 1 : 0;
            lower += lowerLast <= upperLast ? 1 : 0;
        }
    }
    void Join(int32_t a, int32_t b)
    {
        a = Root(a);
        b = Root(b);
        runs_[std::max(a, b)].parent = std::min(a, b);
    }

    Vector<Run> runs_;
    int32_t count_ = 0;
    Vector<int32_t> rowStart_;
};

class RegionNumbers {
public:
    RegionNumbers(RunForest& forest, int32_t rows, int32_t cols)
        : forest_(forest),
          rows_(rows),
          cols_(cols),
          number_(static_cast<uint64_t>(forest.Count()), -1),
          size_(static_cast<uint64_t>(forest.Count()), int64_t{0})
    {
        for (int32_t run = 0; run < forest.Count(); ++run) {
            size_[forest.Root(run)] += forest[run].last - forest[run].first;
        }
    }

    int32_t Assign(int64_t limit)
    {
        int32_t next = 0;
        for (int32_t y = 0; y < rows_; ++y) {
            for (int32_t run = forest_.RowStart(y); run < forest_.RowStart(y + 1); ++run) {
                if (forest_.Root(run) != run) {
                    continue;
                }
                number_[run] = size_[run] <= limit ? Adjacent(run, y) : next++;
            }
        }
        return next;
    }
    int32_t NumberOf(int32_t run) { return number_[forest_.Root(run)]; }

private:
    int32_t Adjacent(int32_t run, int32_t y)
    {
        const int32_t x = forest_[run].first;
        int32_t adjacent = 0;
        Visit(x - 1, y, adjacent);
        Visit(x, y - 1, adjacent);
        Visit(x + 1, y, adjacent);
        Visit(x, y + 1, adjacent);
        return adjacent;
    }
    void Visit(int32_t x, int32_t y, int32_t& adjacent)
    {
        if (x < 0 || x >= cols_ || y < 0 || y >= rows_) {
            return;
        }
        const int32_t number = NumberOf(forest_.At(y, x));
        if (number >= 0) {
            adjacent = number;
        }
    }

    RunForest& forest_;
    int32_t rows_;
    int32_t cols_;
    Vector<int32_t> number_; // by root; -1 until the region's first pixel has been visited
    Vector<int64_t> size_;
};

} // namespace

int32_t NumberRegions(Matrix& labels, int64_t limit)
{
    RunForest forest(labels);
    RegionNumbers numbers(forest, labels.rows, labels.cols);
    const int32_t count = numbers.Assign(limit);
    Matrix numbered(labels.rows, labels.cols, D32S);
    for (int32_t y = 0; y < labels.rows; ++y) {
        auto* row = RowOf<int32_t>(numbered, y);
        for (int32_t run = forest.RowStart(y); run < forest.RowStart(y + 1); ++run) {
            std::fill(row + forest[run].first, row + forest[run].last, numbers.NumberOf(run));
        }
    }
    labels = numbered;
    return count;
}

} // namespace lumo
