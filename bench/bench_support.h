// The scene as images of the library, and what is reported of a measurement.
#pragma once

#include "scene.h"

#include "core/matrix.h"

#include <benchmark/benchmark.h>
#include <cstdint>

namespace lumo::bench {

/// The scene as an image of the library.
Matrix MakeSceneMatrix(int32_t rows, int32_t cols);

/// One plane of the scene.
Matrix MakeScenePlane(int32_t rows, int32_t cols);

/// Reports pixels per second and nanoseconds per pixel.
void ReportPixels(benchmark::State& state, int64_t pixels);

/// Restarts the count of the largest resident size.
void ResetPeak();
/// The largest resident size since, in bytes.
int64_t PeakBytes();

} // namespace lumo::bench
