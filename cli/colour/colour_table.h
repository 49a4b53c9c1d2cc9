// A costly function of a pixel's three codes, looked up in place of being computed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace qva {

/// Values at equally spaced nodes of the cube of 16-bit codes; between them those of the four
/// corners of a tetrahedron are mixed. Neutral codes stay on the cube's diagonal, so they are mixed
/// of neutral nodes only.
class ColourTable {
public:
    /// What is sampled: count packed colours of three codes to count times `outputs` values.
    using Function =
        std::function<void(const std::uint16_t* codes, std::size_t count, float* values)>;

    /// Samples on all threads.
    /// @param steps     between the nodes of an axis; divides 65535, so that white is a node.
    /// @param outputs   values of a colour, 1 ... mostOutputs.
    /// @param function  called by several threads at once.
    /// @throws what the function throws.
    ColourTable(int steps, int outputs, const Function& function);

    static constexpr int mostOutputs = 16;

    /// The values of packed pixels. Any number of threads may ask at once.
    /// @param values  pixels * Stride() of them; those of a pixel behind its outputs mean nothing.
    void Convert(const std::uint16_t* codes, std::size_t pixels, float* values) const;

    /// Values from one pixel to the next: the outputs, rounded up to a multiple of 4.
    std::size_t Stride() const { return stride_; }

private:
    void SampleSlab(std::size_t red, const Function& function);
    template <std::size_t Stride>
    void ConvertAs(const std::uint16_t* codes, std::size_t pixels, float* values) const;

    std::size_t nodes_;  ///< of an axis
    std::uint32_t step_; ///< codes from node to node
    std::size_t outputs_;
    std::size_t stride_;
    std::vector<float> values_; ///< blue runs fastest, red slowest
};

} // namespace qva
