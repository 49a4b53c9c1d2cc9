// Results that are made of many pieces: what all threads encode is what one thread does.
#include "base/workers.h"
#include "formats/write_page.h"
#include "samples.h"
#include "tiff_bytes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <zlib.h>

namespace qva {

namespace {

// A row is more than a piece, and there are more of them than are encoded in one call.
constexpr ImageSize size = {43700, 67};

Page Photograph()
{
    Page page{size, std::make_unique<std::uint16_t[]>(size.width * size.height * 3)};
    std::uint32_t noise = 1;
    for (std::int64_t i = 0; i < size.width * size.height * 3; ++i) {
        noise = noise * 1664525 + 1013904223;
        page.codes[i] = static_cast<std::uint16_t>(i / size.width * 300 + (noise >> 25));
    }
    return page;
}

class WrittenPages : public testing::TestWithParam<std::pair<const char*, Compression>> {
protected:
    void TearDown() override { SetWorkers(before_); }

private:
    int before_ = Workers();
};

TEST_P(WrittenPages, AreTheSameForEveryNumberOfThreads)
{
    const auto [name, compression] = GetParam();
    const samples::Folder folder;
    const std::string path = folder / name;
    const Page page = Photograph();
    Progress progress(ProgressStyle::None);
    std::string first;
    for (const int threads : {1, 2, 5}) {
        SCOPED_TRACE(threads);
        SetWorkers(threads);
        OutputFile file(path);
        WritePage(file, page, {compression, 0.0}, progress);
        file.Commit();
        const std::string bytes = samples::Content(path);
        if (threads == 1) {
            first = bytes;
            const std::vector<float> read = samples::ReadAll(path);
            EXPECT_TRUE(std::equal(read.begin(), read.end(), page.codes.get(),
                                   page.codes.get() + size.width * size.height * 3));
        }
        EXPECT_TRUE(first == bytes);
    }
    if (path.ends_with("png")) {
        // All pieces together are one stream, whose checksum holds.
        const std::string data = samples::PngDataOf(first, "IDAT");
        std::vector<Bytef> rows(static_cast<std::size_t>((size.width * 6 + 1) * size.height));
        auto length = static_cast<uLongf>(rows.size());
        EXPECT_EQ(Z_OK, uncompress(rows.data(), &length,
                                   reinterpret_cast<const Bytef*>(data.data()), data.size()));
        EXPECT_EQ(rows.size(), length);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, WrittenPages,
                         testing::Values(std::pair{"a.tif", Compression::None},
                                         std::pair{"b.tif", Compression::Lzw},
                                         std::pair{"c.tif", Compression::Deflate},
                                         std::pair{"d.png", Compression::None},
                                         std::pair{"e.png", Compression::Deflate}));

} // namespace

} // namespace qva
