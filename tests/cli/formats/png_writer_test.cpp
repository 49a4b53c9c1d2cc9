#include "formats/image_source.h"
#include "formats/writer_table.h"
#include "hostile_reading.h"
#include "samples.h"

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

std::uint32_t BigEndian(const std::string& bytes, std::size_t place)
{
    std::uint32_t number = 0;
    for (std::size_t i = place; i < place + 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

/// The data of a chunk, found by walking over all of them (ISO/IEC 15948, 5.3).
std::string ChunkOf(const std::string& bytes, const std::string& name)
{
    for (std::size_t place = 8; place + 12 <= bytes.size();) {
        const std::size_t length = BigEndian(bytes, place);
        if (bytes.substr(place + 4, 4) == name) {
            return bytes.substr(place + 8, length);
        }
        place += length + 12;
    }
    return "none";
}

TEST(PngWriter, WritesWhatItIsGivenAndWhatItMeans)
{
    const Folder folder;
    const std::string path = folder / "a.png";
    for (const Compression compression : {Compression::None, Compression::Deflate}) {
        Write(path, {compression, 300.0});
        const std::vector<float> read = samples::ReadAll(path);
        ASSERT_EQ(105u, read.size());
        for (std::size_t i = 0; i < read.size(); ++i) {
            ASSERT_EQ(static_cast<float>(static_cast<std::uint16_t>(i * 621 + 3)), read[i]) << i;
        }
    }
    const std::string bytes = samples::Content(path);
    EXPECT_EQ(std::string("\x10\x02\0\0\0", 5), ChunkOf(bytes, "IHDR").substr(8));
    // H.273: primaries of BT.2020, the power 2.2, RGB, full range.
    EXPECT_EQ(std::string("\x09\x04\0\1", 4), ChunkOf(bytes, "cICP"));
    EXPECT_TRUE(ChunkOf(bytes, "iCCP").starts_with("BT.2020 gamma 2.2"));
    const std::string resolution = ChunkOf(bytes, "pHYs");
    EXPECT_EQ(11811u, BigEndian(resolution, 0)); // 300 / 0.0254
    EXPECT_EQ(11811u, BigEndian(resolution, 4));
    EXPECT_EQ(1, resolution[8]);
    EXPECT_LT(bytes.find("cICP"), bytes.find("IDAT"));
    Write(path, {Compression::Deflate, 0.0});
    EXPECT_EQ("none", ChunkOf(samples::Content(path), "pHYs"));
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
