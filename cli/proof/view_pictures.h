// The rows of a proof as pictures for a display.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qva {

using Rgb8 = std::array<unsigned char, 3>;

/// Colours of the gamut map, one for each of deltaESteps: what lies above a step and not above the
/// next has its colour; the rest of the picture is grey. From light to dark, so that they can be
/// told apart without seeing colours.
inline constexpr std::array<Rgb8, 5> stepColours = {
    {{255, 230, 120}, {255, 180, 60}, {240, 105, 45}, {200, 30, 60}, {95, 0, 110}}};

/// Colours of the ink map: coverage from none to the limit, and what lies above the limit.
inline constexpr Rgb8 noInkColour = {240, 244, 248};
inline constexpr Rgb8 fullInkColour = {20, 60, 110};
inline constexpr Rgb8 overLimitColour = {225, 60, 30};

/// Each takes a row of view::count values a pixel and gives packed R, G, B.
void ProofRow8(const float* row, std::size_t pixels, unsigned char* rgb);
void ProofRow16(const float* row, std::size_t pixels, std::uint16_t* rgb);
void GamutRow(const float* row, std::size_t pixels, unsigned char* rgb);
/// @param limit  percent of total area coverage.
void InkRow(const float* row, std::size_t pixels, double limit, unsigned char* rgb);

} // namespace qva
