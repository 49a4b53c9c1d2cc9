#include "formats/image_source.h"

#include "base/errors.h"
#include "formats/format_table.h"
#include "picture/input_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <vector>

namespace qva {

namespace {

std::string FirstBytes(const std::string& path)
{
    // A picture may be read twice, which a pipe does not allow.
    SizeOfRegularFile(path);
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        throw Failure(path, SystemReason(errno));
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(file, std::fclose);
    std::array<char, headBytes> bytes{};
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), file);
    if (std::ferror(file) != 0) {
        throw Failure(path, SystemReason(errno));
    }
    if (count == 0) {
        throw Failure(path, "is empty");
    }
    return std::string(bytes.data(), count);
}

} // namespace

void ImageSource::ReadSamples(std::int64_t count, std::uint16_t* samples)
{
    std::vector<float> row(static_cast<std::size_t>(Size().width * 3));
    for (std::int64_t i = 0; i < count; ++i) {
        ReadRows(1, row.data());
        samples = std::transform(row.begin(), row.end(), samples,
                                 [](float code) { return static_cast<std::uint16_t>(code); });
    }
}

void ImageSource::SkipRows(std::int64_t count)
{
    std::vector<float> row(static_cast<std::size_t>(Size().width * 3));
    for (std::int64_t i = 0; i < count; ++i) {
        ReadRows(1, row.data());
    }
}

std::unique_ptr<ImageSource> OpenImage(const std::string& path, const SizeLimits& limits)
{
    const Format* format = FormatOfContent(FirstBytes(path));
    if (format == nullptr) {
        throw Failure(path, fmt::format("is not an {} picture", FormatNames()));
    }
    if (format->make == nullptr) {
        throw Failure(path, fmt::format("is {}; this build was made without {}, which "
                                        "reads it",
                                        format->name, format->library));
    }
    std::unique_ptr<ImageSource> source = format->make();
    source->Open(path, limits);
    return source;
}

double ResolutionOf(double dpi)
{
    return dpi >= 1.0 && dpi <= 100000.0 ? std::round(dpi * 100.0) / 100.0 : 0.0;
}

void CheckSize(const std::string& path, ImageSize size, const SizeLimits& limits)
{
    if (size.width < 1 || size.height < 1) {
        throw Failure(path, "the picture has no pixels");
    }
    if (size.width > limits.side || size.height > limits.side) {
        throw Failure(path, fmt::format("{} x {} pixels: a side is longer than the {} that "
                                        "--max-side allows",
                                        size.width, size.height, limits.side));
    }
    if (static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height) >
        limits.pixels)
    {
        throw Failure(path, fmt::format("{} x {} pixels are more than the {} that --max-pixels "
                                        "allows",
                                        size.width, size.height, limits.pixels));
    }
}

std::int64_t RowsPerBlock(ImageSize size)
{
    constexpr std::int64_t blockPixels = 1 << 18;
    return std::clamp<std::int64_t>(blockPixels / size.width, 1, size.height);
}

} // namespace qva
