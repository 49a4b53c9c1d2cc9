#include "write.h"

#include "array_source.h"
#include "formats/writer_table.h"
#include "picture.h"
#include "picture/print_metadata.h"

#include <algorithm>

namespace py = pybind11;

namespace qva::python {

namespace {

/// Calls write for blocks of packed rows.
template <typename Write>
void ForEachBlock(const ArrayView& view, std::int64_t rows, const Write& write)
{
    const std::int64_t length = view.size.width * 3;
    std::vector<float> values(view.IsPackedCodes() ? 0 : static_cast<std::size_t>(length));
    std::vector<std::uint16_t> packed(values.empty() ? 0 : static_cast<std::size_t>(rows * length));
    for (std::int64_t first = 0; first < view.size.height; first += rows) {
        const std::int64_t count = std::min(rows, view.size.height - first);
        const std::uint16_t* codes = packed.empty() ? view.Codes() + first * length : packed.data();
        for (std::int64_t row = 0; !packed.empty() && row < count; ++row) {
            ReadRow(view, first + row, values.data());
            std::transform(values.begin(), values.end(), packed.begin() + row * length,
                           [](float code) { return static_cast<std::uint16_t>(code); });
        }
        write(codes, count);
    }
}

} // namespace

void WriteArray(const std::string& path, const py::object& pixels, WriteSettings settings,
                const py::object& picture)
{
    const ArrayView view = ViewOf(pixels, "pixels");
    if (view.type != SampleType::Code16) {
        throw py::type_error("pixels: an array of uint16 is needed");
    }
    if (!picture.is_none()) {
        const auto& description = picture.cast<const Picture&>().description;
        settings.metadata = MetadataForPrint(description);
        settings.dpi = settings.dpi > 0.0 ? settings.dpi : description.dpi;
    }
    const py::gil_scoped_release unlocked;
    const OutputFormat& format = OutputFormatOf(path);
    OutputFile file(path);
    const std::unique_ptr<RowWriter> writer = format.make(file, view.size, settings);
    ForEachBlock(
        view, std::max(writer->RowsAtOnce(), RowsPerBlock(view.size)),
        [&](const std::uint16_t* codes, std::int64_t count) { writer->Write(codes, count); });
    writer->Finish();
    file.Commit();
}

} // namespace qva::python
