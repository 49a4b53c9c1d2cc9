#include "picture.h"

#include "colour/scene_decoder.h"

#include <algorithm>

namespace py = pybind11;

namespace qva::python {

namespace {

void ReadFloats(ImageSource& source, float* samples)
{
    const ImageSize size = source.Size();
    const std::int64_t rows = RowsPerBlock(size);
    for (std::int64_t first = 0; first < size.height; first += rows) {
        source.ReadRows(std::min(rows, size.height - first), samples + first * size.width * 3);
    }
}

void ReadCodes(ImageSource& source, std::uint16_t* samples)
{
    const ImageSize size = source.Size();
    std::vector<float> rows(static_cast<std::size_t>(RowsPerBlock(size) * size.width * 3));
    for (std::int64_t first = 0; first < size.height; first += RowsPerBlock(size)) {
        const std::int64_t count = std::min(RowsPerBlock(size), size.height - first);
        source.ReadRows(count, rows.data());
        samples = std::transform(rows.data(), rows.data() + count * size.width * 3, samples,
                                 [](float code) { return static_cast<std::uint16_t>(code); });
    }
}

template <typename T>
py::array_t<T> EmptyArray(ImageSize size)
{
    return py::array_t<T>({size.height, size.width, std::int64_t{3}});
}

} // namespace

Picture ReadPicture(const std::string& path, const CallOptions& options)
{
    Picture picture;
    std::unique_ptr<ImageSource> source;
    {
        const py::gil_scoped_release unlocked;
        const ThreadCount threads(options.threads);
        source = OpenImage(path, options.photo.limits);
        picture.description = source->Describe();
        picture.meaning = Interpret(picture.description, options.photo.source);
    }
    if (picture.description.isFloat) {
        auto samples = EmptyArray<float>(source->Size());
        picture.samples = samples;
        const py::gil_scoped_release unlocked;
        const ThreadCount threads(options.threads);
        ReadFloats(*source, samples.mutable_data());
    } else {
        auto samples = EmptyArray<std::uint16_t>(source->Size());
        picture.samples = samples;
        const py::gil_scoped_release unlocked;
        const ThreadCount threads(options.threads);
        ReadCodes(*source, samples.mutable_data());
    }
    return picture;
}

py::array Upright(const py::array& samples, int orientation)
{
    // The values of TIFF's tag 274. From 5 on rows are columns of the upright picture.
    const bool isTurned = orientation >= 5;
    const bool fromRight =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool fromBottom =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    const int down = isTurned ? 1 : 0;
    const int right = isTurned ? 0 : 1;
    std::int64_t steps[] = {samples.strides(down), samples.strides(right)};
    const auto* first = static_cast<const std::byte*>(samples.data());
    if (fromBottom) {
        first += (samples.shape(down) - 1) * steps[0];
        steps[0] = -steps[0];
    }
    if (fromRight) {
        first += (samples.shape(right) - 1) * steps[1];
        steps[1] = -steps[1];
    }
    return {samples.dtype(),
            {samples.shape(down), samples.shape(right), samples.shape(2)},
            {steps[0], steps[1], samples.strides(2)},
            first,
            samples};
}

py::array LightOf(const Picture& picture, const CallOptions& options)
{
    ArraySource source = picture.Source();
    auto light = EmptyArray<float>(source.Size());
    float* rgb = light.mutable_data();
    {
        const py::gil_scoped_release unlocked;
        const ThreadCount threads(options.threads);
        const SceneDecoder decoder(Interpret(picture.description, options.photo.source),
                                   picture.description.path);
        ReadFloats(source, rgb);
        const ImageSize size = source.Size();
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < size.height; ++row) {
            SampleCounts counts;
            decoder.Decode(rgb + row * size.width * 3, static_cast<std::size_t>(size.width),
                           counts);
        }
    }
    return Upright(light, picture.description.orientation);
}

} // namespace qva::python
