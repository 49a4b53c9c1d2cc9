// The pixels of a numpy array, wherever they lie.
#pragma once

#include "picture/source_description.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <pybind11/numpy.h>

namespace qva::python {

enum class SampleType { Code16, Half, Float };

/// Pixels as their array describes them. Valid as long as the array.
struct ArrayView {
    const std::byte* data = nullptr;
    ImageSize size;
    std::int64_t rowStep = 0; ///< bytes, any sign, as the two below
    std::int64_t columnStep = 0;
    std::int64_t channelStep = 0;
    SampleType type = SampleType::Code16;

    /// Whether the library can read or write the pixels where they are.
    bool IsPackedCodes() const;

    /// The pixels of packed codes; written to only where the array is a result.
    std::uint16_t* Codes() const;
};

/// @param what  the array is, for messages: "pixels".
/// @throws pybind11::type_error for what is not an array of uint16, float16 or float32 in the byte
///         order of the machine, pybind11::value_error for another shape than (height, width, 3).
ArrayView ViewOf(const pybind11::object& array, const char* what);

/// The view of an array that is to be written, of uint16.
/// @throws as ViewOf, and pybind11::value_error where it is read-only or of another size.
ArrayView ResultViewOf(const pybind11::object& array, ImageSize size);

/// A new array of uint16 for a result, or the one that was given for it.
/// @param given  None or an array.
pybind11::object ResultOf(const pybind11::object& given, ImageSize size);

/// @throws pybind11::value_error where two views share memory and are not one and the same.
void CheckOverlap(const ArrayView& source, const ArrayView& result);

/// Reads one row as interleaved R, G, B; codes keep their value.
/// @param rgb  width * 3 values.
void ReadRow(const ArrayView& view, std::int64_t row, float* rgb);

/// The packed codes that become a result: in its own memory where that is packed.
class PackedResult {
public:
    /// @param view  of uint16.
    explicit PackedResult(const ArrayView& view);

    std::uint16_t* Codes() const { return packed_ ? packed_.get() : view_.Codes(); }

    /// Brings the codes to where the view has its pixels.
    void Finish() const;

private:
    ArrayView view_;
    std::unique_ptr<std::uint16_t[]> packed_;
};

} // namespace qva::python
