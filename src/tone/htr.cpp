#include "tone/htr.h"

#include "colorspace/pq.h"
#include "core/exception.h"

#include <algorithm>

namespace lumo {
namespace {

constexpr double luminanceLimit = 10000.0;
constexpr double codeSpan = 65535.0;

void Require(bool condition, const char* message)
{
    if (!condition) {
        throw Exception(exceptionArgument, message);
    }
}

struct RangeMessages {
    const char* order;
    const char* low;
    const char* high;
};

void EnsureRange(const LuminanceRange& range, const RangeMessages& messages)
{
    Require(!(range.valueMin >= range.valueMax), messages.order);
    Require(!(range.lumiMin >= range.lumiMax), messages.order);
    Require(!(range.lumiMin < 0.0), messages.low);
    Require(!(range.lumiMax <= 0.0), messages.low);
    Require(!(range.lumiMax > luminanceLimit), messages.high);
}

} // namespace

Htr::Htr(const LuminanceRangePair& ranges, const HtrParameters& parameters)
    : input(ranges.input),
      output(ranges.output),
      params(parameters),
      thresholdLuminance_(parameters.luminanceThreshold)
{
    InitializeCodeRanges();
    EnsureValidParameters(params);
}

void Htr::InitializeCodeRanges()
{
    inputCode.workColorSpace = params.workColorSpace;
    outputCode.workColorSpace = params.workColorSpace;
    inputCode.pqMax = PQ(input.lumiMax);
    inputCode.pqMin = PQ(input.lumiMin);
    outputCode.pqMax = PQ(output.lumiMax);
    outputCode.pqMin = PQ(output.lumiMin);
    const bool outputHigher = outputCode.pqMax > inputCode.pqMax;
    const bool outputLower = inputCode.pqMin > outputCode.pqMin;
    const double high = outputHigher ? outputCode.pqMax : inputCode.pqMax;
    const double low = outputLower ? outputCode.pqMin : inputCode.pqMin;
    const double scale = codeSpan / (high - low);
    inputCode.codeMax =
        inputCode.pqMax > outputCode.pqMax ? codeSpan : codeSpan - (high - inputCode.pqMax) * scale;
    inputCode.codeMin = outputCode.pqMin > inputCode.pqMin ? 0.0 : (inputCode.pqMin - low) * scale;
    outputCode.codeMax = outputHigher ? codeSpan : codeSpan - (high - outputCode.pqMax) * scale;
    outputCode.codeMin = outputLower ? 0.0 : (outputCode.pqMin - low) * scale;
    params.luminanceThreshold = (PQ(params.luminanceThreshold) - low) * scale;
    params.toneKneeLuminance = (PQ(params.toneKneeLuminance) - low) * scale;
    // Nothing to compress: one curve for everything, and no detail to protect from it.
    if (outputCode.pqMax - outputCode.pqMin >= inputCode.pqMax - inputCode.pqMin) {
        params.useWlsFilter = false;
        params.evaluateSegmentsNumber = false;
        params.numSegments = 1;
    }
}

void Htr::EnsureValidParameters(const HtrParameters& parameters) const
{
    EnsureRange(input, {"Error in Htr::EnsureValidParameters, input luminance max must be greater "
                        "than luminance minimum",
                        "Error in Htr::EnsureValidParameters, input luminance  must be greater "
                        "than 0",
                        "Error in Htr::EnsureValidParameters, input luminance  must be less than "
                        "10000"});
    EnsureRange(output, {"Error in Htr::EnsureValidParameters, output luminance max must be "
                         "greater than luminance minimum",
                         "Error in Htr::EnsureValidParameters, output luminance must be greater "
                         "than 0",
                         "Error in Htr::EnsureValidParameters, output luminance  must be less "
                         "than 10000"});
    // The code can land a last bit outside although the luminance lies inside.
    const bool inside =
        thresholdLuminance_ >= input.lumiMin && thresholdLuminance_ <= input.lumiMax;
    const double code = parameters.luminanceThreshold;
    Require((code == params.luminanceThreshold && inside) ||
                !(code < inputCode.codeMin || code > inputCode.codeMax),
            "Error in Htr::EnsureValidParameters, param luminance threshold must be greater than "
            "luminance minimum");
    Require(parameters.resizedLongSide >= 1, "Error in Htr::EnsureValidParameters, resized long "
                                             "side must be greater than 0");
    Require(!(parameters.thresholdHighX < 0.0 || parameters.thresholdHighX > 1.0),
            "Error in Htr::EnsureValidParameters, thresholdHighX must be [0,1]");
    Require(!(parameters.thresholdHighY < 0.0 || parameters.thresholdHighY > 1.0),
            "Error in Htr::EnsureValidParameters, thresholdHighY must be [0,1]");
}

ToneCodes Htr::Codes() const
{
    return {inputCode.codeMax,  inputCode.codeMin,         outputCode.codeMax,
            outputCode.codeMin, params.luminanceThreshold, params.toneKneeLuminance};
}

void Htr::EnsureBand(int32_t rows, int32_t cols, const HtrAnalysis& analysis, const BandRect& band)
{
    Require(analysis.analysisRows >= 1 && analysis.analysisCols >= 1, "");
    Require(std::max(analysis.analysisRows, analysis.analysisCols) <= longestAnalysis, "");
    Require(analysis.imageRows >= 1 && analysis.imageCols >= 1, "");
    Require(rows == int64_t{band.bottom} - band.top + 1, "");
    Require(cols == int64_t{band.right} - band.left + 1, "");
}

} // namespace lumo
