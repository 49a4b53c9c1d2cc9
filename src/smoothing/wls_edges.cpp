#include "smoothing/wls_edges.h"

#include "core/lookup.h"
#include "core/saturate.h"

#include <algorithm>

namespace lumo {

using kernels::codeDifferences;

template <typename T>
WlsEdges<T>::WlsEdges(const Vector<float>& weights, float lambda)
    : weights_(weights), lambda_(lambda), edgeOfDifference_(codeDifferences)
{
    const auto last = static_cast<int32_t>(weights.size - 1);
    for (int32_t difference = 0; difference < codeDifferences; ++difference) {
        const int32_t k = std::min(difference * difference, last);
        edgeOfDifference_[difference] = -(lambda * weights[k]);
    }
}

template <typename T>
void WlsEdges<T>::Load(const WlsGuide& guide, int32_t row, int32_t col, int32_t count,
                       WlsGuideValue<T>* values)
{
    const T* in = RowOf<T>(guide.image, row) + col;
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::ScaleCodes(in, count, guide.scale, values);
    } else {
        for (int32_t i = 0; i < count; ++i) {
            values[i] = Saturate<T>(static_cast<double>(in[i]) * guide.scale);
        }
    }
}

template <typename T>
void WlsEdges<T>::Between(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                          float* edge) const
{
    if constexpr (std::is_same_v<T, float>) {
        kernels::EdgesOfFloats(a, b, count, weights_.data, static_cast<int32_t>(weights_.size - 1),
                               lambda_, edge);
    } else {
        uint16_t difference[edgesAtOnce];
        kernels::Differences(a, b, count, difference);
        LookUpFloats(edgeOfDifference_.data, difference, count, edge);
    }
}

template <typename T>
void WlsEdges<T>::Between(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                          int64_t stride, float* edge) const
{
    if constexpr (std::is_same_v<T, float>) {
        float edges[edgesAtOnce];
        Between(a, b, count, edges);
        for (int32_t i = 0; i < count; ++i) {
            edge[i * stride] = edges[i];
        }
    } else {
        uint16_t difference[edgesAtOnce];
        kernels::Differences(a, b, count, difference);
        LookUpFloats(edgeOfDifference_.data, difference, count, stride, edge);
    }
}

template class WlsEdges<uint8_t>;
template class WlsEdges<uint16_t>;
template class WlsEdges<float>;

} // namespace lumo
