#include "page/reduced_page.h"

#include "base/workers.h"

#include <algorithm>

namespace qva {

namespace {

/// The first of `from` samples that falls into box `index` of `to`.
std::int64_t BoxStart(std::int64_t index, std::int64_t from, std::int64_t to)
{
    return (index * from + to - 1) / to;
}

// The finaliser of a splitmix generator: every bit of the result depends on every bit of x.
std::uint64_t Mixed(std::uint64_t x)
{
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
    return x ^ (x >> 31);
}

} // namespace

PageReducer::PageReducer(std::int64_t lines, std::int64_t lineLength, ImageSize copy)
    : lines_(lines), copy_(copy), lineLength_(lineLength)
{
    for (std::int64_t column = 0; column <= copy.width; ++column) {
        columnStarts_.push_back(BoxStart(column, lineLength, copy.width));
    }
    sums_.resize(static_cast<std::size_t>(copy.width * copy.height * 3));
}

void PageReducer::Add(const std::uint16_t* codes, std::int64_t count)
{
    // Threads share the columns: each owns the boxes it adds to.
    constexpr std::int64_t columnsAtOnce = 32;
    ForEach((copy_.width + columnsAtOnce - 1) / columnsAtOnce, [&](std::int64_t item, int) {
        const std::int64_t first = item * columnsAtOnce;
        AddColumns(codes, count, first, std::min(first + columnsAtOnce, copy_.width));
    });
    AddToDigest(codes, count);
    next_ += count;
}

void PageReducer::AddColumns(const std::uint16_t* codes, std::int64_t count, std::int64_t first,
                             std::int64_t last)
{
    for (std::int64_t line = 0; line < count; ++line) {
        const std::int64_t row = (next_ + line) * copy_.height / lines_;
        std::uint64_t* sum = sums_.data() + (row * copy_.width + first) * 3;
        for (std::int64_t column = first; column < last; ++column, sum += 3) {
            const std::uint16_t* code = codes + (line * lineLength_ + columnStarts_[column]) * 3;
            const std::uint16_t* end = codes + (line * lineLength_ + columnStarts_[column + 1]) * 3;
            for (; code < end; code += 3) {
                sum[0] += code[0];
                sum[1] += code[1];
                sum[2] += code[2];
            }
        }
    }
}

Page PageReducer::Result() const
{
    Page page{copy_, std::make_unique_for_overwrite<std::uint16_t[]>(sums_.size())};
    std::size_t i = 0;
    for (std::int64_t row = 0; row < copy_.height; ++row) {
        const std::int64_t height =
            BoxStart(row + 1, lines_, copy_.height) - BoxStart(row, lines_, copy_.height);
        for (std::int64_t column = 0; column < copy_.width; ++column) {
            const auto count = static_cast<std::uint64_t>(
                height * (columnStarts_[column + 1] - columnStarts_[column]));
            for (int k = 0; k < 3; ++k, ++i) {
                page.codes[i] = static_cast<std::uint16_t>((sums_[i] + count / 2) / count);
            }
        }
    }
    return page;
}

void PageReducer::AddToDigest(const std::uint16_t* codes, std::int64_t count)
{
    std::vector<std::uint64_t> lineDigests(static_cast<std::size_t>(count));
    ForEach(count, [&](std::int64_t line, int) {
        // FNV-1a over codes in place of bytes.
        std::uint64_t digest = 0xcbf29ce484222325u;
        const std::uint16_t* code = codes + line * lineLength_ * 3;
        for (const std::uint16_t* end = code + lineLength_ * 3; code < end; ++code) {
            digest = (digest ^ *code) * 0x100000001b3u;
        }
        lineDigests[static_cast<std::size_t>(line)] = digest;
    });
    for (const std::uint64_t digest : lineDigests) {
        digest_ = Mixed(digest_ + 0x9e3779b97f4a7c15u + digest);
    }
}

Page Transposed(const Page& page)
{
    const auto [width, height] = page.size;
    Page turned{{height, width}, nullptr};
    turned.codes = std::make_unique_for_overwrite<std::uint16_t[]>(
        static_cast<std::size_t>(width * height * 3));
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            std::copy_n(page.codes.get() + (y * width + x) * 3, 3,
                        turned.codes.get() + (x * height + y) * 3);
        }
    }
    return turned;
}

} // namespace qva
