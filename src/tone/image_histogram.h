// Counts the values of an image in equal bins.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// numBins equal bins over rangeMin ... rangeMax; values outside fall into the end bins.
class ImageHistogram {
public:
    ImageHistogram(double maximum, double minimum, int64_t bins)
        : rangeMax(maximum), rangeMin(minimum), numBins(bins)
    {
    }

    /// Counts every channel value of the pixels whose mask is above 0.
    /// @param src   D8U, D16U or D32F, any number of channels.
    /// @param mask  D8U, D16U or D32S of the same size; empty: every pixel counts.
    /// @param hist  replaced by numBins counts.
    /// @throws Exception code 2 for the depth of the mask, then of src.
    void operator()(const Matrix& src, const Matrix& mask, Vector<double>& hist) const;

    /// The bin of a value.
    int64_t BinOf(double value) const
    {
        const double position =
            (value - rangeMin) * (static_cast<double>(numBins) / (rangeMax - rangeMin));
        // Comparisons first: the position may lie outside every integer.
        if (!(position > 0.0)) {
            return 0;
        }
        const auto last = static_cast<double>(numBins - 1);
        return position >= last ? numBins - 1 : static_cast<int64_t>(position);
    }

    double rangeMax;
    double rangeMin;
    int64_t numBins;
};

} // namespace lumo
