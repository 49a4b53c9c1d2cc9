#include "array_view.h"

#include <cstring>
#include <fmt/format.h>
#include <half.h>
#include <utility>

namespace py = pybind11;

namespace qva::python {

namespace {

SampleType TypeOf(const py::dtype& type, const char* what)
{
    // '=' is the machine's order; others are only told for other orders.
    if (type.byteorder() == '=' && type.kind() == 'u' && type.itemsize() == 2) {
        return SampleType::Code16;
    }
    if (type.byteorder() == '=' && type.kind() == 'f' && type.itemsize() == 2) {
        return SampleType::Half;
    }
    if (type.byteorder() == '=' && type.kind() == 'f' && type.itemsize() == 4) {
        return SampleType::Float;
    }
    throw py::type_error(fmt::format("{}: an array of {}, not of uint16, float16 or float32", what,
                                     std::string(py::str(static_cast<py::handle>(type)))));
}

std::int64_t SizeOf(SampleType type)
{
    return type == SampleType::Float ? 4 : 2;
}

/// Arrays need not be aligned: fields of records are not.
template <typename T>
T Load(const std::byte* place)
{
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

template <typename Take>
void ForEachPixel(const ArrayView& view, std::int64_t row, const Take& take)
{
    const std::byte* pixel = view.data + row * view.rowStep;
    for (std::int64_t x = 0; x < view.size.width; ++x, pixel += view.columnStep) {
        for (int channel = 0; channel < 3; ++channel) {
            take(pixel + channel * view.channelStep);
        }
    }
}

/// The first byte of a view and the one behind its last.
std::pair<const std::byte*, const std::byte*> EndsOf(const ArrayView& view)
{
    const std::byte* first = view.data;
    const std::byte* last = view.data;
    for (const std::int64_t way : {(view.size.height - 1) * view.rowStep,
                                   (view.size.width - 1) * view.columnStep, 2 * view.channelStep})
    {
        (way < 0 ? first : last) += way;
    }
    return {first, last + SizeOf(view.type)};
}

} // namespace

bool ArrayView::IsPackedCodes() const
{
    return type == SampleType::Code16 && channelStep == 2 && columnStep == 6 &&
           rowStep == size.width * 6 && reinterpret_cast<std::uintptr_t>(data) % 2 == 0;
}

std::uint16_t* ArrayView::Codes() const
{
    return reinterpret_cast<std::uint16_t*>(const_cast<std::byte*>(data));
}

ArrayView ViewOf(const py::object& array, const char* what)
{
    if (!py::isinstance<py::array>(array)) {
        throw py::type_error(fmt::format("{}: {} is no numpy array", what,
                                         std::string(py::str(py::type::of(array)))));
    }
    const auto pixels = py::reinterpret_borrow<py::array>(array);
    ArrayView view;
    view.type = TypeOf(pixels.dtype(), what);
    if (pixels.ndim() != 3 || pixels.shape(2) != 3) {
        throw py::value_error(fmt::format("{}: shape {}, not (height, width, 3)", what,
                                          std::string(py::str(array.attr("shape")))));
    }
    view.size = {pixels.shape(1), pixels.shape(0)};
    if (view.size.width < 1 || view.size.height < 1) {
        throw py::value_error(fmt::format("{}: there are no pixels in it", what));
    }
    view.data = static_cast<const std::byte*>(pixels.data());
    view.rowStep = pixels.strides(0);
    view.columnStep = pixels.strides(1);
    view.channelStep = pixels.strides(2);
    return view;
}

ArrayView ResultViewOf(const py::object& array, ImageSize size)
{
    const ArrayView view = ViewOf(array, "out");
    if (view.type != SampleType::Code16) {
        throw py::type_error("out: an array of uint16 is needed");
    }
    if (view.size.width != size.width || view.size.height != size.height) {
        throw py::value_error(fmt::format("out: {} rows of {} pixels, not {} of {}",
                                          view.size.height, view.size.width, size.height,
                                          size.width));
    }
    if (!py::reinterpret_borrow<py::array>(array).writeable()) {
        throw py::value_error("out: the array is read-only");
    }
    return view;
}

py::object ResultOf(const py::object& given, ImageSize size)
{
    if (given.is_none()) {
        return py::array_t<std::uint16_t>({size.height, size.width, std::int64_t{3}});
    }
    return given;
}

void CheckOverlap(const ArrayView& source, const ArrayView& result)
{
    const auto one = EndsOf(source);
    const auto other = EndsOf(result);
    const bool isSame = source.data == result.data && source.rowStep == result.rowStep &&
                        source.columnStep == result.columnStep &&
                        source.channelStep == result.channelStep && source.type == result.type;
    if (one.first < other.second && other.first < one.second && !isSame) {
        throw py::value_error("out: shares memory with the pixels without being the same array");
    }
}

void ReadRow(const ArrayView& view, std::int64_t row, float* rgb)
{
    switch (view.type) {
    case SampleType::Code16:
        ForEachPixel(view, row, [&rgb](const std::byte* place) {
            *rgb++ = static_cast<float>(Load<std::uint16_t>(place));
        });
        break;
    case SampleType::Half:
        ForEachPixel(view, row, [&rgb](const std::byte* place) {
            *rgb++ = imath_half_to_float(Load<std::uint16_t>(place));
        });
        break;
    case SampleType::Float:
        ForEachPixel(view, row, [&rgb](const std::byte* place) { *rgb++ = Load<float>(place); });
        break;
    }
}

PackedResult::PackedResult(const ArrayView& view) : view_(view)
{
    if (!view.IsPackedCodes()) {
        packed_ = std::make_unique_for_overwrite<std::uint16_t[]>(
            static_cast<std::size_t>(view.size.width * view.size.height * 3));
    }
}

void PackedResult::Finish() const
{
    const std::uint16_t* codes = packed_.get();
    for (std::int64_t row = 0; packed_ && row < view_.size.height; ++row) {
        ForEachPixel(view_, row, [&codes](const std::byte* place) {
            std::memcpy(const_cast<std::byte*>(place), codes++, sizeof *codes);
        });
    }
}

} // namespace qva::python
