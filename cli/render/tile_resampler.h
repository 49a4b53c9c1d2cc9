// Resampling of light, through zimg.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace qva {

/// Memory at a place that vectors of any instruction set can be read from.
class AlignedFloats {
public:
    static constexpr std::int64_t perVector = 8; ///< floats

    /// Keeps nothing of what was there.
    void Resize(std::size_t count);
    float* Data() { return data_; }
    const float* Data() const { return data_; }

private:
    std::vector<float> memory_;
    float* data_ = nullptr;
};

/// Three planes of linear light.
struct LightPlanes {
    AlignedFloats planes[3];
    std::int64_t stride = 0; ///< floats from row to row, a multiple of AlignedFloats::perVector
    std::int64_t rows = 0;

    void Resize(std::int64_t width, std::int64_t height);
};

/// A part of some planes, and the pixels that are made of it.
struct Tile {
    std::int64_t column = 0; ///< where the planes are read from: a multiple of perVector
    std::int64_t width = 0;  ///< columns and rows that may be read from there
    std::int64_t height = 0;
    double left = 0.0; ///< of the part, from `column` on
    double top = 0.0;
    double partWidth = 0.0;
    double partHeight = 0.0;
    std::int64_t targetWidth = 0;
    std::int64_t targetHeight = 0;
};

/// How far a filter reaches, in pixels of the coarser of the two pictures.
constexpr double resamplingReach = 3.0;

/// Used by one thread.
class TileResampler {
public:
    /// Resamples with a spline of 36 points, which is sharp, and keeps every result within half a
    /// stop of that of a triangle of the same scale: beside a lamp the spline alone swings far
    /// below the dark around it, and above it farther out.
    /// @param out    interleaved R, G, B; its first pixel.
    /// @param stride floats from row to row.
    /// @throws std::bad_alloc; std::runtime_error with the library's words.
    void Resample(const LightPlanes& from, const Tile& tile, float* out, std::int64_t stride);

private:
    void Run(const LightPlanes& from, const Tile& tile, int filter, LightPlanes& to);

    LightPlanes sharp_;
    LightPlanes smooth_;
    AlignedFloats scratch_;
};

} // namespace qva
