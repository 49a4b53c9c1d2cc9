// An edge-preserving smoother.
#pragma once

#include "core/image_filter.h"
#include "core/vector.h"

namespace lumo {

/// Weighted least squares by lines: neighbours are pulled together, the less the more the guidance
/// image differs between them. One solve along every column, then one along every row (Min et al.,
/// "Fast global image smoothing based on weighted least squares", 2014, one iteration). The system
/// of a line f with guidance g, solved for u by elimination and substitution (wls_kernels.cpp):
///     u[i] + lambda w[i-1] (u[i] - u[i-1]) + lambda w[i] (u[i] - u[i+1]) = f[i],
///     w[i] = exp(-|g[i+1] - g[i]| / sigma), and 0 beyond the ends.
class FastWlsFilter : public ImageFilterInterface {
public:
    /// Entries of the weight table: squared distances of guidance values 0 ... 255, 3 channels.
    static constexpr uint64_t weightCount = 3 * 255 * 255 + 1;

    /// @param sigmaColor  edge scale as a fraction of the guidance range.
    /// @param lambda      smoothing strength.
    FastWlsFilter(float sigmaColor, float lambda);

    /// @param src       D8U, D16U or D32F.
    /// @param guidance  the size and depth of src, values 0 ... 255; src itself where empty.
    /// @param dst       always re-created in the shape of src; may be src or guidance.
    /// @throws Exception code 2 where depths or sizes differ, or for another depth; dst untouched.
    void operator()(const Matrix& src, const Matrix& guidance, Matrix& dst) override;

    /// The same, guided by src * 255 / guidanceMax_.
    /// @param src  D16U.
    /// @throws Exception code 2 for another depth; dst untouched.
    void operator()(const Matrix& src, Matrix& dst);

    Vector<float> weights_; ///< entry k = exp(-sqrt(k) / sigma_)
    float sigma_;           ///< in 8-bit units
    float lambda_;
    double guidanceMax_ = 0.0; ///< source value that maps to 255; set by the owner
};

} // namespace lumo
