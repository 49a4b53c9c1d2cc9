#include "analysis.h"

#include "array_source.h"
#include "base/errors.h"
#include "page/reduced_page.h"
#include "picture/reduced_size.h"
#include "render/light_rows.h"

#include <algorithm>
#include <fmt/format.h>

namespace py = pybind11;

namespace qva::python {

namespace {

/// Pixels of a page read as codes of its range.
class CodeReader {
public:
    CodeReader(const ArrayView& view, const RenderRange& range)
        : source_(view, DescriptionOf(view)),
          decoder_(Meaning(), source_.Describe().path),
          light_(LightPlan{}),
          rows_(source_, decoder_, light_, RangeOf(view, range))
    {
    }

    void Read(std::int64_t count, std::uint16_t* codes) { rows_.Read(count, codes); }

private:
    static Interpretation Meaning()
    {
        Interpretation meaning;
        meaning.primaries = bt2020;
        meaning.signalOneLuminance = 1.0;
        return meaning;
    }
    static RenderRange RangeOf(const ArrayView& view, RenderRange range)
    {
        range.passThrough = view.type == SampleType::Code16;
        return range;
    }

    ArraySource source_;
    SceneDecoder decoder_;
    LightSteps light_;
    LightRows rows_;
};

/// Calls take(first, count) for blocks of all rows.
template <typename Take>
void ForEachBlock(ImageSize size, const Take& take)
{
    const std::int64_t rows = RowsPerBlock(size);
    for (std::int64_t first = 0; first < size.height; first += rows) {
        take(first, std::min(rows, size.height - first));
    }
}

qva::Page Reduce(const ArrayView& view, const RenderRange& range, ImageSize copy)
{
    CodeReader reader(view, range);
    PageReducer reducer(view.size.height, view.size.width, copy);
    std::vector<std::uint16_t> codes(
        static_cast<std::size_t>(RowsPerBlock(view.size) * view.size.width * 3));
    ForEachBlock(view.size, [&](std::int64_t, std::int64_t count) {
        reader.Read(count, codes.data());
        reducer.Add(codes.data(), count);
    });
    return reducer.Result();
}

/// A copy that is given must be one that the page could have.
ImageSize CopyOf(const ArrayView& view, std::optional<ImageSize> page)
{
    if (!page) {
        return ReducedSize(view.size, analysisSide);
    }
    if (page->width < view.size.width || page->height < view.size.height) {
        throw Misuse("page_shape", "the small copy is larger than the page");
    }
    if (std::max(view.size.width, view.size.height) > analysisSide) {
        throw Misuse("pixels", fmt::format("a side of the small copy is longer than {} pixels",
                                           analysisSide));
    }
    return view.size;
}

} // namespace

Analysis::Analysis(const py::object& pixels, std::optional<ImageSize> page, double top,
                   const CallOptions& options, const std::optional<std::string>& profile)
{
    const ArrayView view = ViewOf(pixels, "pixels");
    const py::gil_scoped_release unlocked;
    const ThreadCount threads(options.threads);
    page_ = page.value_or(view.size);
    CheckSize("page_shape", page_, options.photo.limits);
    range_.top = top;
    if (PageRange(range_, options.render.paperWhite).top > top) {
        throw Misuse("top", fmt::format("{:.6g} cd/m2 is not 1.05 times paper white or more", top));
    }
    profile_ = ProfileFor(options, profile);
    reduced_ = Reduce(view, range_, CopyOf(view, page));
    renderer_.emplace(reduced_, page_, range_, profile_, options.render, "pixels");
}

py::object Analysis::Correct(const py::object& band, std::int64_t first, Direction direction,
                             const py::object& out, int threads)
{
    const ArrayView view = ViewOf(band, "band");
    const bool isRows = direction == Direction::Rows;
    const LineRun lines = {first, isRows ? view.size.height : view.size.width};
    const bool fits = isRows ? view.size.width == page_.width && lines.End() <= page_.height
                             : view.size.height == page_.height && lines.End() <= page_.width;
    if (!fits || first < 0) {
        throw Misuse("band",
                     fmt::format("{} {} to {} of {} pixels do not lie on the page of {} x {}",
                                 isRows ? "rows" : "columns", first, lines.End() - 1,
                                 isRows ? view.size.width : view.size.height, page_.width,
                                 page_.height));
    }
    const py::object result = ResultOf(out, view.size);
    const ArrayView place = ResultViewOf(result, view.size);
    CheckOverlap(view, place);
    const py::gil_scoped_release unlocked;
    const std::lock_guard<std::mutex> oneAtATime(mutex_);
    const ThreadCount count(threads);
    const PackedResult packed(place);
    const std::uint16_t* source = view.Codes();
    if (!view.IsPackedCodes()) {
        CodeReader reader(view, range_);
        ForEachBlock(view.size, [&](std::int64_t row, std::int64_t rows) {
            reader.Read(rows, packed.Codes() + row * view.size.width * 3);
        });
        source = packed.Codes();
    }
    renderer_->Correct(source, packed.Codes(), direction, lines);
    packed.Finish();
    return result;
}

py::array Analysis::Reduced() const
{
    py::array_t<std::uint16_t> copy({reduced_.size.height, reduced_.size.width, std::int64_t{3}});
    std::copy_n(reduced_.codes.get(), copy.size(), copy.mutable_data());
    return copy;
}

} // namespace qva::python
