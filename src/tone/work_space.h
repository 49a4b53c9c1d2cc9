// Into the colour space that tones are mapped in, ICtCp or xyY, and out of it.
#pragma once

#include "colorspace/color_space.h"
#include "colorspace/convert_ictcp_to_xrgb.h"
#include "core/image_converter.h"
#include "core/linear_interpolation.h"
#include "tone/htr_parameters.h"

#include <memory>

namespace lumo {

/// RGB to PQ-coded Y and chromaticities x, y, all in the input code range; per pixel.
class ConvertRGB2xyY : public ImageConverterInterface {
public:
    /// @throws Exception code 3 for a colour space other than 1, 3, 6.
    ConvertRGB2xyY(const LuminanceRange& input, const CodeRange& code);
    void operator()(const double* in, double* out, size_t channels) const override;

private:
    LinearInterpolation table_;
    const double* matrix_;
    double codeMin_;
    double codeSpan_;
};

/// The way back: chromaticities are read as c / output.valueMax; per pixel.
class ConvertxyY2RGB : public ImageConverterInterface {
public:
    /// @throws Exception code 3 for a colour space other than 1, 3, 6.
    ConvertxyY2RGB(const LuminanceRange& output, const CodeRange& code);
    void operator()(const double* in, double* out, size_t channels) const override;

private:
    LinearInterpolationFast table_;
    const double* matrix_;
    double valueMax_;
};

/// The forward conversion of the working space of `code`.
/// @throws Exception code 2 for an unknown working space, code 3 for an unknown colour space.
std::unique_ptr<ImageConverterInterface> MakeWorkConverter(const LuminanceRange& input,
                                                           const CodeRange& code,
                                                           double chromaOffset);

/// The backward conversion; chromaOffset is the forward one.
/// @throws Exception code 2 for an unknown working space, code 3 for an unknown colour space.
std::unique_ptr<ImageConverterInterface> MakeDestinationConverter(const LuminanceRange& output,
                                                                  const CodeRange& code,
                                                                  double chromaOffset);

} // namespace lumo
