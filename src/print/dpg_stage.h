// Dpg as two passes over blocks, for pipelines that feed and drain it.
#pragma once

#include "core/pixel_stream.h"
#include "core/power_curve.h"
#include "core/work_planes.h"
#include "print/dpg.h"

#include <memory>

namespace lumo {

/// The curve between encoded and linear codes, sampled.
PowerCurveTable DpgCurve(const LuminanceRange& input, const LuminanceRange& work,
                         PowerCurve direction);

/// What a Dpg computes from its ranges: curves and colour conversions. Read-only.
struct DpgTables {
    DpgTables(const LuminanceRange& input, const LuminanceRange& output, const LuminanceRange& work,
              double chromaOffset);

    /// Those of the ranges that every print uses, built once per process.
    static std::shared_ptr<const DpgTables> Usual();

    Vector<uint16_t> decodingMap; ///< encoded to linear codes
    Vector<uint16_t> encodingMap;
    PowerCurveTable decoding; ///< the same for floats
    PowerCurveTable encoding;
    ConvertxRGB2ICtCp toWork;    ///< linear RGB to ICtCp
    ConvertxRGB2ICtCp predicted; ///< XYZ of the print to ICtCp
    ConvertICtCp2xRGB fromWork;
};

/// Takes an encoded image in, block by block, then gives the corrected image out.
/// @tparam T  uint16_t or float: the depth that every step is stored in.
template <typename T>
class DpgStage : public PixelSink {
public:
    /// @param dpg     outlives the stage, as `planes` does.
    /// @throws Exception code 3 for a work colour space other than ICtCp.
    DpgStage(const Dpg& dpg, int32_t rows, int32_t cols, WorkPlanes& planes);

    /// Takes pixels of the encoded image.
    void Store(int32_t row, int32_t col, int32_t count, PixelBlock& block) override;
    void StoreCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes,
                    PixelBlock& scratch) override;

    /// Smooths, combines and sends the result on, once every pixel has been taken.
    void Drain(PixelSink& sink);

private:
    class SmoothedRows;
    void DrainRow(int32_t row, const T* base, const T* printBase, PixelSink& sink) const;
    void CombineBlock(const T* i, const T* b1, const T* p, const T* b2, int32_t count,
                      double* r) const;
    void StorePredicted(int32_t row, int32_t col, int32_t count, const PixelBlock& printed);
    void StoreWork(int32_t row, int32_t col, int32_t count, PixelBlock& linear);
    void Send(int32_t row, int32_t col, int32_t count, PixelBlock& block, PixelSink& sink) const;

    const Dpg& dpg_;
    WorkPlanes& planes_;
    int32_t rows_;
    int32_t cols_;
    std::shared_ptr<const DpgTables> tables_;
};

} // namespace lumo
