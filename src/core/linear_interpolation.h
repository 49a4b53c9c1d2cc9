// Piecewise-linear curves sampled in tables.
#pragma once

#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// A curve through (lutx[i], luty[i]), constant beyond its ends. Evaluation is read-only and may
/// run on many threads.
class LinearInterpolation {
public:
    virtual ~LinearInterpolation() = default;

    /// Copies the samples. lutx must ascend (not checked).
    /// @throws Exception code 3 if the sizes differ, then for fewer than two samples; the curve is
    ///         then unchanged.
    void Initialize(const Vector<double>& x, const Vector<double>& y);
    /// The same with arrays that the caller gives away.
    void Initialize(Vector<double>&& x, Vector<double>&& y);

    virtual double operator()(double x) const;
    /// Finds the interval by binary search.
    virtual double Evaluate(double x) const;

    Vector<double> lutx;
    Vector<double> luty;
    uint64_t count = 0;
    double xLast = 0.0;
    double xFirst = 0.0;
};

/// A curve over equally spaced samples: the interval is computed, not searched.
class LinearInterpolationFast : public LinearInterpolation {
public:
    ~LinearInterpolationFast() override = default;
    double Evaluate(double x) const override;

    /// Evaluates blockSize values; `out` may be `x`. The samples must be finite, which a debug
    /// build checks: at an end of the curve the neighbour counts too, times 0.
    void EvaluateBlock(const double* x, double* out) const;
};

/// Index of the interval of lutx that holds x, or of an interior sample that equals it.
/// @throws Exception code 3 for an empty vector.
uint64_t SearchIndexWithBinaryTree(const Vector<double>& lutx, double x);

} // namespace lumo
