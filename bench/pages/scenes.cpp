#include "scenes.h"

#include <algorithm>
#include <cmath>

namespace qva::pages {

namespace {

struct Light {
    double r;
    double g;
    double b;
};

/// 0 ... 1, the same for the same three numbers everywhere.
double Chance(std::int64_t a, std::int64_t b, std::int64_t c)
{
    auto x = static_cast<std::uint64_t>(a) * 0x9e3779b97f4a7c15u ^
             static_cast<std::uint64_t>(b) * 0xc2b2ae3d27d4eb4fu ^
             static_cast<std::uint64_t>(c) * 0x165667b19e3779f9u;
    x = (x ^ (x >> 29)) * 0xbf58476d1ce4e5b9u;
    x ^= x >> 32;
    return static_cast<double>(x & 0xffffff) / 16777216.0;
}

Light Scaled(const Light& light, double factor)
{
    return {light.r * factor, light.g * factor, light.b * factor};
}

Light Sky(std::int64_t x, std::int64_t y)
{
    const double dx = static_cast<double>(x - 900) / 4000.0;
    const double dy = static_cast<double>(y - 5200) / 6000.0;
    const double light = 30.0 + 3500.0 * std::exp(-3.0 * std::sqrt(dx * dx + dy * dy));
    return Scaled({0.6, 0.8, 1.0}, light * (0.99 + 0.02 * Chance(x, y, 1)));
}

Light Edges(std::int64_t x, std::int64_t y)
{
    // The cells are shifted against each other, so that borders lie at every height.
    const std::int64_t column = x / 173;
    const std::int64_t row = (y + column * 97) / 211;
    const double light = 0.05 * std::pow(60000.0, Chance(column, row, 2));
    return Scaled({0.4 + 0.6 * Chance(column, row, 3), 0.4 + 0.6 * Chance(column, row, 4),
                   0.4 + 0.6 * Chance(column, row, 5)},
                  light);
}

Light Text(std::int64_t x, std::int64_t y)
{
    const std::int64_t line = y / 24;
    const bool isStroke =
        y % 24 < 16 && Chance(x / 3, line, 6) < 0.45 && Chance(x / 11, y / 4, 7) < 0.7;
    const double paper = 180.0 + 60.0 * std::sin(static_cast<double>(x + y) / 2600.0);
    return Scaled({1.0, 0.97, 0.9}, isStroke ? 1.5 : paper);
}

Light Steps(std::int64_t x, std::int64_t y)
{
    // A step of 1.2 % every 300 rows lies within one level of what guides the smoother.
    const double wave = ((y + 40) / 300) % 2 == 0 ? 1.0 : 1.012;
    const double base = 2.0 * std::pow(1000.0, static_cast<double>(x % 1500) / 1500.0);
    return Scaled({1.0, 1.0, 1.0}, base * wave);
}

Light LightAt(Scene scene, std::int64_t x, std::int64_t y)
{
    switch (scene) {
    case Scene::Sky:
        return Sky(x, y);
    case Scene::Edges:
        return Edges(x, y);
    case Scene::Text:
        return Text(x, y);
    case Scene::Steps:
        break;
    }
    return Steps(x, y);
}

std::uint16_t CodeOf(double light)
{
    return static_cast<std::uint16_t>(
        std::lround(std::clamp(light / brightest, 0.0, 1.0) * 65535.0));
}

} // namespace

std::string NameOf(Scene scene)
{
    switch (scene) {
    case Scene::Sky:
        return "sky";
    case Scene::Edges:
        return "edges";
    case Scene::Text:
        return "text";
    case Scene::Steps:
        break;
    }
    return "steps";
}

void FillRow(Scene scene, std::int64_t y, std::int64_t left, std::int64_t count, std::uint16_t* rgb)
{
    for (std::int64_t x = left; x < left + count; ++x) {
        const Light light = LightAt(scene, x, y);
        *rgb++ = CodeOf(light.r);
        *rgb++ = CodeOf(light.g);
        *rgb++ = CodeOf(light.b);
    }
}

} // namespace qva::pages
