// Runs colour function objects over every pixel of an image.
#pragma once

#include "core/block_loop.h"
#include "core/exception.h"
#include "core/matrix.h"
#include "core/pixel_block.h"

#include <cstddef>
#include <type_traits>

namespace lumo {

/// What can be run over the pixels of an image. Objects are read-only while they are called, from
/// many threads at once.
class ImageConverterInterface {
public:
    virtual ~ImageConverterInterface() = default;

    /// One pixel: reads `channels` values of `in` and writes as many of `out`.
    virtual void operator()(const double* in, double* out, size_t channels) const = 0;

    /// The first `count` pixels of a block, in place; the same results as the single-pixel call.
    /// An override may process the lanes behind `count` too.
    virtual void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const;

    /// The same for three-channel pixels that are 16-bit codes, into `block`.
    virtual void ConvertCodes(const CodeBlock& codes, int32_t count, PixelBlock& block) const;
};

/// Runs function objects over images: each pixel's channels are widened to double, converted, and
/// stored with the saturation of the source's depth.
class ImageConverter {
public:
    /// Runs the functors one after the other, with the store of the depth between them.
    ///
    /// @param src  D8U, D16U, D32F or D64F with 1 or 3 channels; only rows of its region are run.
    /// @param dst  re-created in the source's shape and type if it differs; may be src.
    /// @param functors  each called directly, by many threads at once: by blocks where it has
    ///                  ConvertBlock(block, count, channels), else a pixel at a time as
    ///                  functor(in, out, channels) or functor(in, out), which write into zeros.
    /// @throws Exception code 2: first for the depth, then (dst re-created) for the channels.
    template <typename... Functors>
    static void Convert(const Matrix& src, Matrix& dst, Functors&&... functors)
    {
        EnsureDepth(src);
        const Matrix source(src);
        dst.Ensure(source.rows, source.cols, source.type);
        EnsureChannels(source);
        switch (DepthOf(source.type)) {
        case D8U:
            return Run<uint8_t>(source, dst, functors...);
        case D16U:
            return Run<uint16_t>(source, dst, functors...);
        case D32F:
            return Run<float>(source, dst, functors...);
        default:
            return Run<double>(source, dst, functors...);
        }
    }

private:
    static void EnsureDepth(const Matrix& src);
    static void EnsureChannels(const Matrix& src);

    template <typename Functor>
    static void Apply(Functor& functor, PixelBlock& block, int32_t count, int32_t channelCount)
    {
        const auto channels = static_cast<size_t>(channelCount);
        if constexpr (requires { functor.ConvertBlock(block, count, channels); }) {
            functor.ConvertBlock(block, count, channels);
        } else if constexpr (std::is_invocable_v<Functor&, const double*, double*, size_t>) {
            ConvertPixelwise(block, count, channels,
                             [&](const double* in, double* out) { functor(in, out, channels); });
        } else {
            ConvertPixelwise(block, count, channels, functor);
        }
    }

    template <typename T, typename First, typename... Rest>
    static void Chain(const T* in, PixelBlock& block, int32_t count, int32_t channels, First& first,
                      Rest&... rest)
    {
        LoadAndApply(in, block, count, channels, first);
        Continue<T>(block, count, channels, rest...);
    }

    // Codes go into an object that takes codes as they are.
    template <typename T, typename Functor>
    static void LoadAndApply(const T* in, PixelBlock& block, int32_t count, int32_t channels,
                             Functor& functor)
    {
        if constexpr (std::is_same_v<T, uint16_t> && requires(const CodeBlock& codes) {
                          functor.ConvertCodes(codes, count, block);
                      })
        {
            if (channels == 3) {
                CodeBlock codes;
                LoadCodes(in, count, codes);
                functor.ConvertCodes(codes, count, block);
                return;
            }
        }
        LoadPixels(in, count, channels, block);
        Apply(functor, block, count, channels);
    }

    template <typename T>
    static void Continue(PixelBlock&, int32_t, int32_t)
    {
    }
    template <typename T, typename First, typename... Rest>
    static void Continue(PixelBlock& block, int32_t count, int32_t channels, First& first,
                         Rest&... rest)
    {
        SaturateBlock<T>(block);
        Apply(first, block, count, channels);
        Continue<T>(block, count, channels, rest...);
    }

    template <typename T, typename... Functors>
    static void Run(const Matrix& src, Matrix& dst, Functors&... functors)
    {
        const int32_t channels = src.channels;
        const int64_t end = static_cast<int64_t>(src.roi.y) + src.roi.height;
        ForEachBlock(src.roi.y, end, src.cols,
                     [&](int32_t row, int32_t col, int32_t count, PixelBlock& block) {
                         const int64_t at = static_cast<int64_t>(col) * channels;
                         Chain<T>(RowOf<T>(src, row) + at, block, count, channels, functors...);
                         StorePixels(block, count, channels, RowOf<T>(dst, row) + at);
                     });
    }
};

} // namespace lumo
