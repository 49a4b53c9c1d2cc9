#include "page/page_result.h"

#include "samples.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace qva {

namespace {

constexpr std::int64_t width = 16;
constexpr std::int64_t linesPerBand = 4;

TiffPage StripsOfPage()
{
    TiffPage page;
    page.layout = {width, 10, 2}; // bands of two strips, the last of one
    return page;
}

std::vector<std::uint16_t> BandCodes(int band)
{
    std::vector<std::uint16_t> codes(width * linesPerBand * 3);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = static_cast<std::uint16_t>(i * 77 + static_cast<std::size_t>(band) * 5000);
    }
    return codes;
}

std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Writes the bands that are missing up to `end`; commits a complete page.
std::int64_t Write(const std::string& path, int end, Continuation continuation,
                   const std::string& plan = "{\"a\":1}")
{
    PageResult result(path, StripsOfPage(), linesPerBand, plan, continuation);
    const std::int64_t found = result.Bands();
    for (auto band = static_cast<int>(found); band < end; ++band) {
        result.Append(BandCodes(band).data());
    }
    if (end == 3) {
        result.Finish();
        result.Commit();
    }
    return found;
}

TEST(PageResult, GoesOnToTheSameBytes)
{
    const samples::Folder folder;
    Write(folder / "whole.tif", 3, Continuation::Refuse);
    const std::string whole = Contents(folder / "whole.tif");
    for (const int stop : {0, 1, 2}) {
        const std::string path = folder / "stopped.tif";
        Write(path, stop, Continuation::Refuse);
        EXPECT_EQ("", Contents(path)); // no name before the end
        EXPECT_EQ(stop, Write(path, 3, Continuation::Resume));
        EXPECT_EQ(whole, Contents(path));
        EXPECT_EQ("", Contents(path + ".qva-part") + Contents(path + ".qva-journal"));
        std::filesystem::remove(path);
    }
    StripReader reader(folder / "whole.tif");
    std::vector<std::uint16_t> codes(width * 2 * 3);
    reader.Decode(2, codes.data());
    const std::vector<std::uint16_t> expected = BandCodes(1);
    EXPECT_TRUE(std::equal(codes.begin(), codes.end(), expected.begin()));
}

TEST(PageResult, TakesOverOnlyWhatIsWhole)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    Write(path, 3, Continuation::Refuse);
    const std::string whole = Contents(path);
    std::filesystem::remove(path);
    const auto damage = [&](const std::string& name, auto change) {
        Write(path, 2, Continuation::Refuse);
        std::string bytes = Contents(path + name);
        change(bytes);
        samples::WriteBytes(path + name, bytes);
        const std::int64_t found = Write(path, 3, Continuation::Resume);
        EXPECT_EQ(whole, Contents(path));
        std::filesystem::remove(path);
        return found;
    };
    // The last band changed, cut short; the first changed; the journal's last line cut short, gone.
    EXPECT_EQ(1, damage(".qva-part", [](std::string& bytes) { bytes.back() ^= 1; }));
    EXPECT_EQ(1, damage(".qva-part", [](std::string& bytes) { bytes.pop_back(); }));
    EXPECT_EQ(0, damage(".qva-part", [](std::string& bytes) { bytes[12] ^= 1; }));
    EXPECT_EQ(1,
              damage(".qva-journal", [](std::string& bytes) { bytes.resize(bytes.size() - 3); }));
    EXPECT_EQ(0, damage(".qva-journal", [](std::string& bytes) { bytes.clear(); }));
}

// A run that ends between the last two steps leaves it behind.
TEST(PageResult, PassesOverTheJournalOfAFinishedRun)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    Write(path, 2, Continuation::Refuse);
    const std::string journal = Contents(path + ".qva-journal");
    Write(path, 3, Continuation::Resume);
    const std::string whole = Contents(path);
    for (const Continuation next : {Continuation::Refuse, Continuation::Resume}) {
        samples::WriteBytes(path + ".qva-journal", journal);
        EXPECT_EQ(0, Write(path, 3, next));
        EXPECT_EQ(whole, Contents(path));
        EXPECT_FALSE(std::filesystem::exists(path + ".qva-journal"));
    }
}

TEST(PageResult, LeavesTheWorkOfOthersAlone)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    const auto error = [&](Continuation continuation, const std::string& plan) {
        return samples::ErrorOf([&] { Write(path, 1, continuation, plan); });
    };
    Write(path, 2, Continuation::Refuse, "{\"a\":1}");
    const std::string part = Contents(path + ".qva-part");
    EXPECT_NE(std::string::npos, error(Continuation::Refuse, "{\"a\":1}").find("--resume"));
    EXPECT_NE(std::string::npos, error(Continuation::Resume, "{\"a\":2}").find("other options"));
    EXPECT_EQ(part, Contents(path + ".qva-part"));
    {
        const PageResult busy(path, StripsOfPage(), linesPerBand, "{\"a\":1}",
                              Continuation::Resume);
        EXPECT_NE(std::string::npos,
                  error(Continuation::Restart, "{\"a\":1}").find("another program"));
    }
    EXPECT_EQ(0, Write(path, 3, Continuation::Restart, "{\"a\":2}"));
}

} // namespace

} // namespace qva
