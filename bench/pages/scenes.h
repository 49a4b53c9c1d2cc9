// Pages of any size that need no file: what shows a seam best.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qva::pages {

enum class Scene {
    Sky,   ///< a smooth gradient, brighter towards a sun, with the grain of a fine film
    Edges, ///< rectangles of any light and colour, each with a hard border
    Text,  ///< dark strokes of a few pixels on bright paper
    Steps  ///< the smallest steps of tone along the page: the hardest case for a smoother
};

constexpr Scene allScenes[] = {Scene::Sky, Scene::Edges, Scene::Text, Scene::Steps};

std::string NameOf(Scene scene);

/// The brightest light of all scenes, cd/m².
constexpr double brightest = 4000.0;

/// Linear codes, 65535 for `brightest`, of a row's pixels left ... left + count - 1.
/// @param rgb  count * 3 codes.
void FillRow(Scene scene, std::int64_t y, std::int64_t left, std::int64_t count,
             std::uint16_t* rgb);

} // namespace qva::pages
