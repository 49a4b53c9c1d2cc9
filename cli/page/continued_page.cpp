#include "page/continued_page.h"

#include "page/reduced_page.h"
#include "picture/reduced_size.h"

#include <algorithm>

namespace qva {

namespace {

// Lines of the copy. An analysis counts regions in windows of 300 pixels, 150 to each side of a
// place; the strip is as high as the cells are that the library first divides a copy into.
constexpr std::int64_t gapLines = 151;
constexpr std::int64_t stripLines = 200;

bool IsDark(const Page& page, double whiteCode)
{
    const std::int64_t count = page.size.width * page.size.height;
    double sum = 0.0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::uint16_t* code = page.codes.get() + 3 * i;
        sum += 0.2627 * code[0] + 0.678 * code[1] + 0.0593 * code[2]; // luminance in BT.2020
    }
    return sum / static_cast<double>(count) < 0.1 * whiteCode;
}

// The copy with room for what follows it.
Page Shortened(const Page& tall)
{
    const std::int64_t lines = std::min(tall.size.height, analysisSide - gapLines - stripLines);
    const std::int64_t width =
        std::clamp<std::int64_t>(tall.size.width * lines / tall.size.height,
                                 std::min<std::int64_t>(tall.size.width, 2), tall.size.width);
    PageReducer reducer(tall.size.height, tall.size.width, {width, lines});
    reducer.Add(tall.codes.get(), tall.size.height);
    return reducer.Result();
}

Page Continued(const Page& copy, std::uint16_t otherTone)
{
    const std::int64_t length = copy.size.width * 3;
    const std::int64_t lines = copy.size.height + gapLines + stripLines;
    Page page{
        {copy.size.width, lines},
        std::make_unique_for_overwrite<std::uint16_t[]>(static_cast<std::size_t>(lines * length))};
    std::uint16_t* end = std::copy_n(copy.codes.get(), copy.size.height * length, page.codes.get());
    for (std::int64_t line = 0; line < gapLines; ++line) {
        end = std::copy_n(copy.codes.get() + (copy.size.height - 1) * length, length, end);
    }
    std::fill_n(end, stripLines * length, otherTone);
    return page;
}

} // namespace

ContinuedPage ContinuePage(const Page& reduced, ImageSize page, double whiteCode)
{
    if (page.width > page.height) {
        ContinuedPage turned =
            ContinuePage(Transposed(reduced), {page.height, page.width}, whiteCode);
        return {{turned.size.height, turned.size.width}, Transposed(turned.reduced)};
    }
    const Page copy = Shortened(reduced);
    const double otherTone = IsDark(copy, whiteCode) ? 0.5 * whiteCode : 0.0;
    Page continued = Continued(copy, static_cast<std::uint16_t>(otherTone));
    const std::int64_t height = page.height * continued.size.height / copy.size.height;
    return {{page.width, height}, std::move(continued)};
}

} // namespace qva
