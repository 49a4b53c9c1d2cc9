#include "smoothing/fast_wls_filter.h"

#include "core/exception.h"
#include "core/matrix_converter.h"
#include "core/matrix_operator.h"
#include "core/parallel.h"
#include "smoothing/wls_lines.h"
#include "smoothing/wls_solver.h"

#include <cmath>

namespace lumo {
namespace {

// The edge scale of the controller's filters, whose table every print would build anew.
constexpr float usualSigma = 0.03f * 255.0f;

Vector<float> MakeWeights(float sigma)
{
    Vector<float> weights(FastWlsFilter::weightCount);
    ParallelFor(0, static_cast<int64_t>(weights.size), [&](int32_t k) {
        weights[k] = std::exp(-(std::sqrt(static_cast<float>(k)) / sigma));
    });
    return weights;
}

const Vector<float>& UsualWeights()
{
    static const Vector<float> weights = MakeWeights(usualSigma);
    return weights;
}

template <typename T>
void Smooth(const FastWlsFilter& filter, const Matrix& src, const Matrix& guidance, Matrix& dst)
{
    if (src.rows < 1 || src.cols < 1) {
        dst.Create(src.rows, src.cols, src.type);
        return;
    }
    if (src.channels == 1 && guidance.channels == 1) {
        Matrix result(src.rows, src.cols, src.type);
        const WlsSolver<T> solver(filter.weights_, filter.lambda_);
        solver.Smooth(src, {guidance, 1.0}, result);
        dst = result;
        return;
    }
    Matrix work;
    MatrixConverter()(src, work, MakeType(D32F, src.channels));
    SolveLines<T>(guidance, filter.weights_, filter.lambda_, work);
    Matrix result;
    MatrixConverter()(work, result, src.type);
    dst = result;
}

} // namespace

FastWlsFilter::FastWlsFilter(float sigmaColor, float lambda)
    : sigma_(sigmaColor * 255.0f), lambda_(lambda)
{
    weights_ = sigma_ == usualSigma ? UsualWeights() : MakeWeights(sigma_);
}

void FastWlsFilter::operator()(const Matrix& src, const Matrix& guidance, Matrix& dst)
{
    const Matrix source(src);
    const Matrix guide(guidance.rows > 0 && guidance.cols > 0 ? guidance : src);
    const bool sameSize = guide.rows == source.rows && guide.cols == source.cols;
    if (DepthOf(guide.type) != DepthOf(source.type) || !sameSize) {
        throw Exception(exceptionFormat,
                        "Error in FastWlsFilter::operator(), src and guidance depth must be same");
    }
    switch (DepthOf(source.type)) {
    case D8U:
        return Smooth<uint8_t>(*this, source, guide, dst);
    case D16U:
        return Smooth<uint16_t>(*this, source, guide, dst);
    case D32F:
        return Smooth<float>(*this, source, guide, dst);
    default:
        throw Exception(exceptionFormat,
                        "Error: In FastWlsFilter::operator(), depth type must be D8U/D16U/D32F");
    }
}

void FastWlsFilter::operator()(const Matrix& src, Matrix& dst)
{
    if (DepthOf(src.type) != D16U) {
        throw Exception(exceptionFormat,
                        "Error: In FastWlsFilter::operator() depth type must be D8U/D16U/D32F");
    }
    const Matrix source(src);
    Matrix guide(source.rows, source.cols, source.type);
    MultiplyByScalar(source, 255.0 / guidanceMax_, guide, MatrixOperatorMultiply<uint16_t>());
    Smooth<uint16_t>(*this, source, guide, dst);
}

} // namespace lumo
