// No export reaches what stands here: histograms under a mask, and a curve from one. The tone
// mapping counts all segments in one pass.
#include "tone/image_histogram.h"

#include "core/exception.h"
#include "core/matrix_converter.h"
#include "tone/global_tone_mapping_operator_adaptive.h"

namespace lumo {
namespace {

// The mask as integers; empty where there is none.
Matrix IntegerMask(const Matrix& mask)
{
    if (mask.rows <= 0 || mask.cols <= 0) {
        return {};
    }
    const int32_t depth = DepthOf(mask.type);
    if (depth != D8U && depth != D16U && depth != D32S) {
        throw Exception(exceptionFormat,
                        "Error in ImageHistogram::operator(), mask data depth must be D16U/D32S");
    }
    if (depth == D32S) {
        return mask;
    }
    Matrix converted;
    MatrixConverter()(mask, converted, MakeType(D32S, mask.channels));
    return converted;
}

template <typename T>
void Count(const ImageHistogram& bins, const Matrix& src, const Matrix& mask, Vector<double>& hist)
{
    for (int32_t y = 0; y < src.rows; ++y) {
        const T* value = RowOf<T>(src, y);
        const int32_t* selected = mask.rows > 0 ? RowOf<int32_t>(mask, y) : nullptr;
        for (int32_t x = 0; x < src.cols; ++x) {
            if (selected != nullptr && selected[x] <= 0) {
                continue;
            }
            for (int64_t c = 0; c < src.channels; ++c) {
                const int64_t at = static_cast<int64_t>(x) * src.channels + c;
                hist[bins.BinOf(static_cast<double>(value[at]))] += 1.0;
            }
        }
    }
}

} // namespace

void ImageHistogram::operator()(const Matrix& src, const Matrix& mask, Vector<double>& hist) const
{
    const Matrix selected = IntegerMask(mask);
    const int32_t depth = DepthOf(src.type);
    if (depth != D8U && depth != D16U && depth != D32F) {
        throw Exception(exceptionFormat,
                        "Error in ImageHistogram:operator(), src data depth must be D8U/D16U/D32F");
    }
    hist = Vector<double>(static_cast<uint64_t>(numBins), 0.0);
    if (depth == D8U) {
        Count<uint8_t>(*this, src, selected, hist);
    } else if (depth == D16U) {
        Count<uint16_t>(*this, src, selected, hist);
    } else {
        Count<float>(*this, src, selected, hist);
    }
}

void GlobalToneMappingOperatorAdaptive::MakeLUT(const Matrix& src, const Matrix& mask)
{
    const int32_t depth = DepthOf(src.type);
    if (depth != D8U && depth != D16U && depth != D32F) {
        throw Exception(
            exceptionFormat,
            "Error in GlobalToneMappingOperatorAdaptive::MakeLUT, data depth must be 8U/16U/32F");
    }
    EnsureBins();
    ImageHistogram(histMax, histMin, numBins)(src, mask, histogram);
    ComputeSlopes();
    BuildLut();
}

} // namespace lumo
