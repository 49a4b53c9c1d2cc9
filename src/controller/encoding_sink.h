// From linear output codes to the encoding of the paper.
#pragma once

#include "core/image_converter.h"
#include "core/pixel_stream.h"

namespace lumo {

/// Encodes 16-bit linear codes with a curve, adjusts colours, and hands the pixels on.
class EncodingSink : public PixelSink {
public:
    /// @param curve        65,536 entries.
    /// @param compression  applied to the encoded pixels; may be null.
    /// @param next         receives values not yet saturated. All outlive the sink.
    EncodingSink(const uint16_t* curve, const ImageConverterInterface* compression, PixelSink& next)
        : curve_(curve), compression_(compression), next_(next)
    {
    }
    void Store(int32_t row, int32_t col, int32_t count, PixelBlock& block) override
    {
        CodeBlock codes;
        ToCodes(block, codes);
        MapCodes(curve_, codes, codes);
        if (compression_ == nullptr) {
            next_.StoreCodes(row, col, count, codes, block);
            return;
        }
        compression_->ConvertCodes(codes, count, block);
        next_.Store(row, col, count, block);
    }

private:
    const uint16_t* curve_;
    const ImageConverterInterface* compression_;
    PixelSink& next_;
};

} // namespace lumo
