#include "formats/image_source.h"
#include "formats/writer_table.h"
#include "samples.h"
#include "tiff_bytes.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace qva {

namespace {

using samples::Folder;

constexpr ImageSize size = {7, 5};

void Write(const std::string& path, const WriteSettings& settings)
{
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(size.width * size.height * 3));
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = static_cast<std::uint16_t>(i * 621 + 3);
    }
    OutputFile file(path);
    const auto writer = MakePngWriter(file, size, settings);
    // In runs of unequal length, as pages in bands come.
    writer->Write(codes.data(), 2);
    writer->Write(codes.data() + 2 * size.width * 3, 3);
    writer->Finish();
    file.Commit();
}

TEST(PngWriter, WritesWhatItIsGivenAndWhatItMeans)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    Write(path, {Compression::Deflate, 300.0});
    const std::string bytes = samples::Content(path);
    EXPECT_EQ(std::string("\x10\x02\0\0\0", 5), samples::PngDataOf(bytes, "IHDR").substr(8));
    // H.273: primaries of BT.2020, the power 2.2, RGB, full range.
    EXPECT_EQ(std::string("\x09\x04\0\1", 4), samples::PngDataOf(bytes, "cICP"));
    EXPECT_TRUE(samples::PngDataOf(bytes, "iCCP").starts_with("BT.2020 gamma 2.2"));
    const std::string resolution = samples::PngDataOf(bytes, "pHYs");
    const std::string perMetre = samples::Number(11811, 4, false); // 300 / 0.0254
    EXPECT_EQ(perMetre + perMetre + '\1', resolution);
    EXPECT_LT(bytes.find("cICP"), bytes.find("IDAT"));
    Write(path, {Compression::Deflate, 0.0});
    EXPECT_EQ("", samples::PngDataOf(samples::Content(path), "pHYs"));
}

TEST(PngWriter, SaysWhatTheSystemSays)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none = {0, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    const std::string error = samples::ErrorOf([&path] { Write(path, {Compression::None, 0.0}); });
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, ignored);
    EXPECT_EQ(path + ": cannot be written: file too large", error);
    EXPECT_EQ("", samples::Content(path));
}

} // namespace

} // namespace qva
