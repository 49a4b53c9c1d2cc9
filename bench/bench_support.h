// Pages to measure on, and what is reported of a measurement.
#pragma once

#include "core/matrix.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <lumo/qva.h>
#include <vector>

namespace lumo::bench {

/// A scene of PQ codes, packed 16-bit RGB: a graded sky with a sun, textured ground with hard
/// edges, and sensor noise. The same bytes at every call.
std::vector<uint16_t> MakeScene(uint32_t width, uint32_t height);

/// The same as an image of the library.
Matrix MakeSceneMatrix(int32_t rows, int32_t cols);

/// One plane of the scene.
Matrix MakeScenePlane(int32_t rows, int32_t cols);

/// An RGB printer profile for the matcher.
const void* PrinterProfile();

QVA_IMAGE Describe(std::vector<uint16_t>& pixels, uint32_t width, uint32_t height);
QVA_SOURCE_RANGE SceneRange();
QVA_OUTPUT_CONDITIONS PaperConditions();

/// Reports pixels per second and nanoseconds per pixel.
void ReportPixels(benchmark::State& state, int64_t pixels);

/// Restarts the count of the largest resident size.
void ResetPeak();
/// The largest resident size since, in bytes.
int64_t PeakBytes();

} // namespace lumo::bench
