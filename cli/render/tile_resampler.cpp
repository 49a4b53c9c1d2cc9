#include "render/tile_resampler.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <zimg.h>

namespace qva {

namespace {

// Half a stop down and up.
constexpr float lowest = 0.70710678f;
constexpr float highest = 1.41421356f;

// The same instructions on every processor, so that the bytes of a page do not depend on it.
constexpr zimg_cpu_type_e instructions =
#if defined(__x86_64__)
    ZIMG_CPU_X86_SSE2;
#else
    ZIMG_CPU_NONE;
#endif

struct GraphEnd {
    void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
};
using Graph = std::unique_ptr<zimg_filter_graph, GraphEnd>;

[[noreturn]] void Fail()
{
    char words[200] = "";
    if (zimg_get_last_error(words, sizeof words) == ZIMG_ERROR_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    throw std::runtime_error(words);
}

zimg_image_format FormatOf(std::int64_t width, std::int64_t height)
{
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(width);
    format.height = static_cast<unsigned>(height);
    format.pixel_type = ZIMG_PIXEL_FLOAT;
    format.color_family = ZIMG_COLOR_RGB;
    format.matrix_coefficients = ZIMG_MATRIX_RGB;
    return format;
}

Graph MakeGraph(const Tile& tile, int filter)
{
    zimg_image_format from = FormatOf(tile.width, tile.height);
    from.active_region.left = tile.left;
    from.active_region.top = tile.top;
    from.active_region.width = tile.partWidth;
    from.active_region.height = tile.partHeight;
    const zimg_image_format to = FormatOf(tile.targetWidth, tile.targetHeight);
    zimg_graph_builder_params parameters;
    zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
    parameters.resample_filter = static_cast<zimg_resample_filter_e>(filter);
    parameters.cpu_type = instructions;
    Graph graph(zimg_filter_graph_build(&from, &to, &parameters));
    if (!graph) {
        Fail();
    }
    return graph;
}

float Limited(float sharp, float smooth)
{
    const float one = smooth * lowest;
    const float other = smooth * highest;
    return std::clamp(sharp, std::min(one, other), std::max(one, other));
}

} // namespace

void AlignedFloats::Resize(std::size_t count)
{
    constexpr std::size_t bytes = perVector * sizeof(float);
    memory_.resize(count + perVector);
    void* place = memory_.data();
    std::size_t room = memory_.size() * sizeof(float);
    data_ = static_cast<float*>(std::align(bytes, count * sizeof(float), place, room));
}

void LightPlanes::Resize(std::int64_t width, std::int64_t height)
{
    stride = (width + AlignedFloats::perVector - 1) / AlignedFloats::perVector *
             AlignedFloats::perVector;
    rows = height;
    for (AlignedFloats& plane : planes) {
        plane.Resize(static_cast<std::size_t>(stride * rows));
    }
}

void TileResampler::Run(const LightPlanes& from, const Tile& tile, int filter, LightPlanes& to)
{
    const Graph graph = MakeGraph(tile, filter);
    std::size_t bytes = 0;
    if (zimg_filter_graph_get_tmp_size(graph.get(), &bytes) != ZIMG_ERROR_SUCCESS) {
        Fail();
    }
    scratch_.Resize(bytes / sizeof(float) + 1);
    to.Resize(tile.targetWidth, tile.targetHeight);
    zimg_image_buffer_const source{};
    zimg_image_buffer target{};
    source.version = ZIMG_API_VERSION;
    target.version = ZIMG_API_VERSION;
    for (int k = 0; k < 3; ++k) {
        source.plane[k] = {from.planes[k].Data() + tile.column,
                           from.stride * static_cast<std::ptrdiff_t>(sizeof(float)),
                           ZIMG_BUFFER_MAX};
        target.plane[k] = {to.planes[k].Data(),
                           to.stride * static_cast<std::ptrdiff_t>(sizeof(float)), ZIMG_BUFFER_MAX};
    }
    if (zimg_filter_graph_process(graph.get(), &source, &target, scratch_.Data(), nullptr, nullptr,
                                  nullptr, nullptr) != ZIMG_ERROR_SUCCESS)
    {
        Fail();
    }
}

void TileResampler::Resample(const LightPlanes& from, const Tile& tile, float* out,
                             std::int64_t stride)
{
    Run(from, tile, ZIMG_RESIZE_SPLINE36, sharp_);
    Run(from, tile, ZIMG_RESIZE_BILINEAR, smooth_);
    for (std::int64_t y = 0; y < tile.targetHeight; ++y) {
        for (int k = 0; k < 3; ++k) {
            const float* sharp = sharp_.planes[k].Data() + y * sharp_.stride;
            const float* smooth = smooth_.planes[k].Data() + y * smooth_.stride;
            float* row = out + y * stride + k;
            for (std::int64_t x = 0; x < tile.targetWidth; ++x) {
                row[x * 3] = Limited(sharp[x], smooth[x]);
            }
        }
    }
}

} // namespace qva
