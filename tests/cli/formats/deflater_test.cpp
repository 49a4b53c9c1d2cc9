#include "formats/deflater.h"

#include <gtest/gtest.h>
#include <random>
#include <zlib.h>

namespace qva {

namespace {

using Bytes = std::vector<unsigned char>;

/// Noise that does not shrink, a slope, one value.
std::vector<Bytes> Blocks()
{
    std::mt19937 random(7);
    Bytes noise(262144);
    Bytes slope(100001);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        noise[i] = static_cast<unsigned char>(random());
    }
    for (std::size_t i = 0; i < slope.size(); ++i) {
        slope[i] = static_cast<unsigned char>(i / 40);
    }
    return {noise, slope, Bytes(300000, 7), Bytes(1, 9)};
}

/// By zlib, which also compares the checksum.
Bytes Inflated(const Bytes& stream, std::size_t size)
{
    Bytes out(size + 1);
    auto count = static_cast<uLongf>(out.size());
    EXPECT_EQ(Z_OK,
              uncompress(out.data(), &count, stream.data(), static_cast<uLong>(stream.size())));
    out.resize(count);
    return out;
}

TEST(Deflater, MakesStreamsThatAnotherInflates)
{
    Deflater deflater;
    Bytes stream;
    for (const Bytes& block : Blocks()) {
        deflater.MakeStream(block, stream);
        EXPECT_EQ(block, Inflated(stream, block.size()));
        // Stored blocks take five bytes each.
        EXPECT_GT(block.size() + block.size() / 1000 + 64, stream.size());
    }
}

} // namespace

} // namespace qva
