// Rows of R, G, B signals out of the planes that video codecs deliver.
#pragma once

#include "formats/coded_header.h"
#include "formats/plane_view.h"

#include <array>
#include <vector>

namespace qva {

/// How planes of luma and chroma stand for R, G, B.
struct PlaneKind {
    ImageSize size; ///< of luma
    int bits = 8;
    ChromaLayout chroma;
    int matrix = 6;        ///< ITU-T H.273, table 4
    bool fullRange = true; ///< else luma 16 ... 235 times 2^(bits - 8)
};

/// Whether YcbcrRows knows a matrix: 0 to 2 (taken as 6), 4 to 9.
bool KnowsMatrix(int matrix);

/// Converts row after row. Chroma is interpolated linearly from where its samples lie.
class YcbcrRows {
public:
    /// @param kind  of a matrix that KnowsMatrix.
    explicit YcbcrRows(const PlaneKind& kind);

    /// @param planes  luma, blue and red difference; luma alone where the picture is grey.
    /// @param row     of luma.
    /// @param rgb     size.width * 3 signals of 0 ... 1.
    void Convert(const PlaneSet& planes, std::int64_t row, float* rgb);

private:
    /// value = (code - black) * scale.
    struct Scale {
        float black = 0.0f;
        float factor = 1.0f;
    };

    void ReadLine(const PlaneView& plane, std::int64_t row, const Scale& scale,
                  std::vector<float>& line) const;
    void ReadChroma(const PlaneView& plane, std::int64_t row, std::vector<float>& line);

    PlaneKind kind_;
    Scale lumaScale_;
    Scale chromaScale_;
    std::array<std::array<float, 3>, 3> matrix_{};
    std::vector<float> luma_;
    std::array<std::vector<float>, 2> chroma_;
    std::vector<float> near_; ///< lines of chroma samples
    std::vector<float> far_;
};

} // namespace qva
