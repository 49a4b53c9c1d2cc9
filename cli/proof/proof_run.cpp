#include "proof/proof_run.h"

#include "base/workers.h"
#include "formats/image_source.h"
#include "picture/box_reducer.h"
#include "proof/proof_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qva {

namespace {

// Displays are near enough to this power for a mean over a few pixels.
constexpr double displayPower = 2.2;
constexpr std::size_t lightSteps = 65535;

std::vector<float> DisplayLight()
{
    std::vector<float> light(lightSteps + 1);
    for (std::size_t i = 0; i < light.size(); ++i) {
        light[i] = static_cast<float>(
            std::pow(static_cast<double>(i) / static_cast<double>(lightSteps), displayPower));
    }
    return light;
}

/// One pass. Means are taken of light; a picture that is not reduced keeps its signals.
class ProofPass {
public:
    ProofPass(const ColourTable& table, const ProofSizes& sizes, double inkLimit,
              const ViewRows& show)
        : table_(table),
          sizes_(sizes),
          reduces_(sizes.view.width < sizes.page.width || sizes.view.height < sizes.page.height),
          light_(reduces_ ? DisplayLight() : std::vector<float>()),
          parts_(static_cast<std::size_t>(Workers()), ProofFigures(sizes.page, inkLimit)),
          reducer_(sizes.page, sizes.view, view::count,
                   [this, &show](const float* row) { show(reduces_ ? Signals(row) : row); }),
          signals_(reducer_.RowValues())
    {
    }

    void AddRows(const std::uint16_t* codes, std::int64_t first, std::int64_t count);
    ProofFigures Figures() const;

private:
    void StoreView(const float* values, float* row) const;
    const float* Signals(const float* row);

    const ColourTable& table_;
    ProofSizes sizes_;
    bool reduces_;
    std::vector<float> light_;
    std::vector<ProofFigures> parts_; ///< one a thread
    BoxReducer reducer_;
    std::vector<float> signals_;
    std::vector<float> values_;
    std::vector<float> views_;
    std::vector<float> reduced_;
};

void ProofPass::AddRows(const std::uint16_t* codes, std::int64_t first, std::int64_t count)
{
    const auto width = static_cast<std::size_t>(sizes_.page.width);
    const auto rows = static_cast<std::size_t>(count);
    values_.resize(rows * width * proof::count);
    views_.resize(rows * width * view::count);
    reduced_.resize(rows * reducer_.RowValues());
    ForEach(count, [&](std::int64_t item, int worker) {
        const auto row = static_cast<std::size_t>(item);
        float* values = values_.data() + row * width * proof::count;
        float* shown = views_.data() + row * width * view::count;
        table_.Convert(codes + row * width * 3, width, values);
        parts_[static_cast<std::size_t>(worker)].AddRow(codes + row * width * 3, values,
                                                        first + item);
        StoreView(values, shown);
        reducer_.ReduceColumns(shown, reduced_.data() + row * reducer_.RowValues());
    });
    for (std::size_t row = 0; row < rows; ++row) {
        reducer_.Add(reduced_.data() + row * reducer_.RowValues());
    }
}

void ProofPass::StoreView(const float* values, float* row) const
{
    for (std::int64_t x = 0; x < sizes_.page.width; ++x, values += proof::count) {
        for (std::size_t k = 0; k < 3; ++k) {
            const float signal = std::clamp(values[proof::rgb + k], 0.0f, 1.0f);
            row[view::rgb + k] = reduces_ ? light_[static_cast<std::size_t>(std::lround(
                                                signal * static_cast<float>(lightSteps)))]
                                          : signal;
        }
        row[view::deltaE] = std::max(values[proof::deltaE], 0.0f);
        row[view::ink] = values[proof::ink];
        row += view::count;
    }
}

const float* ProofPass::Signals(const float* row)
{
    std::copy_n(row, signals_.size(), signals_.begin());
    for (std::size_t i = 0; i < signals_.size(); i += view::count) {
        for (std::size_t k = 0; k < 3; ++k) {
            float& value = signals_[i + view::rgb + k];
            value = static_cast<float>(
                std::pow(static_cast<double>(std::min(value, 1.0f)), 1.0 / displayPower));
        }
    }
    return signals_.data();
}

ProofFigures ProofPass::Figures() const
{
    ProofFigures all = parts_.front();
    for (std::size_t part = 1; part < parts_.size(); ++part) {
        all.Merge(parts_[part]);
    }
    return all;
}

} // namespace

ProofFigures RunProof(const ColourTable& table, const ProofSizes& sizes, double inkLimit,
                      const CodeRows& read, const ViewRows& show, Progress& progress)
{
    ProofPass pass(table, sizes, inkLimit, show);
    const std::int64_t block = RowsPerBlock(sizes.page);
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(block * sizes.page.width * 3));
    for (std::int64_t first = 0; first < sizes.page.height; first += block) {
        const std::int64_t count = std::min(block, sizes.page.height - first);
        read(count, codes.data());
        pass.AddRows(codes.data(), first, count);
        progress.Show("proofing",
                      static_cast<double>(first + count) / static_cast<double>(sizes.page.height));
    }
    return pass.Figures();
}

} // namespace qva
