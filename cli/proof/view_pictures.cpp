#include "proof/view_pictures.h"

#include "proof/proof_figures.h"
#include "proof/proof_run.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

template <typename Code>
void StoreProof(const float* row, std::size_t pixels, float scale, Code* rgb)
{
    for (std::size_t i = 0; i < pixels; ++i, row += view::count) {
        for (std::size_t k = 0; k < 3; ++k) {
            *rgb++ = static_cast<Code>(std::lround(row[view::rgb + k] * scale));
        }
    }
}

/// The picture behind a map: pale, so that the map's colours stand before it.
float PaleGrey(const float* pixel)
{
    // Weights of R, G, B in brightness, as for sRGB; signals will do for a backdrop.
    const float grey = 0.21f * pixel[0] + 0.72f * pixel[1] + 0.07f * pixel[2];
    return 255.0f * (0.35f + 0.65f * grey);
}

void Store(const Rgb8& colour, float share, float grey, unsigned char* rgb)
{
    for (std::size_t k = 0; k < 3; ++k) {
        const float value = static_cast<float>(colour[k]) * share + grey * (1.0f - share);
        rgb[k] = static_cast<unsigned char>(std::lround(value));
    }
}

} // namespace

void ProofRow8(const float* row, std::size_t pixels, unsigned char* rgb)
{
    StoreProof(row, pixels, 255.0f, rgb);
}

void ProofRow16(const float* row, std::size_t pixels, std::uint16_t* rgb)
{
    StoreProof(row, pixels, 65535.0f, rgb);
}

void GamutRow(const float* row, std::size_t pixels, unsigned char* rgb)
{
    // Enough of the grey shows through for the picture to be known.
    constexpr float colourShare = 0.75f;
    for (std::size_t i = 0; i < pixels; ++i, row += view::count, rgb += 3) {
        const auto deltaE = static_cast<double>(row[view::deltaE]);
        const auto steps = static_cast<std::size_t>(
            std::lower_bound(deltaESteps.begin(), deltaESteps.end(), deltaE) - deltaESteps.begin());
        const float grey = PaleGrey(row + view::rgb);
        Store(stepColours[steps == 0 ? 0 : steps - 1], steps == 0 ? 0.0f : colourShare, grey, rgb);
    }
}

void InkRow(const float* row, std::size_t pixels, double limit, unsigned char* rgb)
{
    for (std::size_t i = 0; i < pixels; ++i, row += view::count, rgb += 3) {
        const auto ink = static_cast<double>(row[view::ink]);
        if (ink > limit) {
            Store(overLimitColour, 1.0f, 0.0f, rgb);
            continue;
        }
        const double share = limit > 0.0 ? ink / limit : 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            rgb[k] = static_cast<unsigned char>(
                std::lround(noInkColour[k] + (fullInkColour[k] - noInkColour[k]) * share));
        }
    }
}

} // namespace qva
