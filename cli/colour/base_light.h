// The light of a gain map's base picture, to which the gains are applied.
#pragma once

#include "colour/colour_interpretation.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace qva {

class SceneDecoder;

/// Turns codes of an integer picture into linear light, 1.0 being SDR white. The light keeps the
/// picture's own primaries, because the gains of three channels hold for these. Read-only after
/// construction.
class BaseLight {
public:
    /// @param base  describes the codes; its tags say what they mean.
    /// @throws Failure as Interpret and SceneDecoder.
    explicit BaseLight(const SourceDescription& base);
    ~BaseLight();

    const Chromaticities& Primaries() const { return primaries_; }

    /// For people: "sRGB", "ICC profile".
    std::string Name() const { return NameOfTransfer(meaning_); }

    /// What the user should know about the base.
    const std::vector<std::string>& Notes() const { return meaning_.notes; }

    /// Converts interleaved R, G, B in place; takes no memory.
    void Convert(float* rgb, std::size_t pixels) const;

private:
    void BuildCurves();

    Interpretation meaning_;
    Chromaticities primaries_;
    std::array<std::vector<float>, 3> curves_; ///< light of every code; empty where there is none
    std::unique_ptr<SceneDecoder> decoder_;    ///< for codes that stand for light only together
};

} // namespace qva
