// What steers an Htr, and what an analysis leaves for the bands.
#pragma once

#include "colorspace/color_space.h"
#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// Pixels of the longer side of what is segmented, at most.
constexpr int32_t longestAnalysis = 1200;

/// Parameters of Htr; the defaults are those of a new handle.
struct HtrParameters {
    HtrParameters();

    Vector<int> numSegmentsSet;      ///< candidates of the automatic choice: 1 2 4 8 14 20
    int32_t numSegments = 1;         ///< without the automatic choice
    int32_t workColorSpace = ICtCp;  ///< or xyYwithPQ
    double luminanceThreshold = 1.3; ///< cd/m2; below it the curves keep slope 1
    bool useWlsFilter = true;        ///< split intensity into base and detail
    int32_t resizedLongSide = longestAnalysis; ///< of the copy that is segmented
    bool evaluateSegmentsNumber = true;        ///< choose among numSegmentsSet
    double segmentEvaluationParam = 0.04;      ///< decay of the homogeneity weight
    double regionWindowSize = 300.0;           ///< window of the weight maps, in label pixels
    double regionWeightDecay = 1.0;            ///< decay of their similarity weight
    double thresholdHighX = 1.0;               ///< knee of the detail compression, 0 ... 1
    double thresholdHighY = 1.0;               ///< detail gain at the top, 0 ... 1
    bool useChromaAdjustment = false;          ///< AdjustChroma after the curves
    double toneKneeLuminance = 3.0;            ///< cd/m2; end of the curves' slope blend
    float wlsSigma = 0.03f;                    ///< of FastWlsFilter
    float wlsLambda = 30.0f;                   ///< of FastWlsFilter
};

/// One side of the common PQ code space 0 ... 65535.
struct CodeRange {
    double codeMax = 0.0; ///< code of lumiMax
    double pqMax = 0.0;   ///< signal of lumiMax
    double codeMin = 0.0;
    double pqMin = 0.0;
    int32_t workColorSpace = 0;
};

/// Curves held by a new record.
constexpr uint64_t analysisCurves = 20;

/// What Analyze finds on a reduced page and Correct renders the bands of the page with.
struct HtrAnalysis {
    /// Numbers 0, no labels, curves of zeros, empty maps.
    HtrAnalysis();

    int32_t bandRows = 0; ///< the controller's
    int32_t imageRows = 0;
    int32_t imageCols = 0;
    int32_t analysisRows = 0; ///< at most longestAnalysis
    int32_t analysisCols = 0;
    int32_t segmentCount = 0;
    Matrix_t<int> labels;               ///< analysisRows × analysisCols
    VectorC<Vector<double>> toneCurves; ///< per segment: output code of input codes 0 ... 65535
    VectorC<Matrix> regionWeights;      ///< per segment: D32F weight map of the labels' size
};

/// A band in the page, inclusive pixel coordinates.
struct BandRect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
    bool edgeFlags[4]; ///< one of the first two set: a band of rows; else one of columns
};

} // namespace lumo
