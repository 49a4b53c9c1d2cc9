#include "page/page_result.h"

#include "formats/strip_reader.h"
#include "samples.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>

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
    // The last band changed, cut short; the first changed.
    EXPECT_EQ(1, damage(".qva-part", [](std::string& bytes) { bytes.back() ^= 1; }));
    EXPECT_EQ(1, damage(".qva-part", [](std::string& bytes) { bytes.pop_back(); }));
    EXPECT_EQ(0, damage(".qva-part", [](std::string& bytes) { bytes[12] ^= 1; }));
}

TEST(PageResult, GoesOnFromAJournalCutAtEveryByte)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    Write(path, 3, Continuation::Refuse);
    const std::string whole = Contents(path);
    std::filesystem::remove(path);
    Write(path, 2, Continuation::Refuse);
    const std::string part = Contents(path + ".qva-part");
    const std::string journal = Contents(path + ".qva-journal");
    std::cout << journal.size() + 1 << " journals tried\n";
    for (std::size_t keep = 0; keep <= journal.size(); ++keep) {
        SCOPED_TRACE(keep);
        const std::string left = journal.substr(0, keep);
        const auto lines = std::count(left.begin(), left.end(), '\n');
        samples::WriteBytes(path + ".qva-part", part);
        samples::WriteBytes(path + ".qva-journal", left);
        // The first line is the plan.
        EXPECT_EQ(std::max<std::ptrdiff_t>(lines - 1, 0), Write(path, 3, Continuation::Resume));
        EXPECT_EQ(whole, Contents(path));
        std::filesystem::remove(path);
    }
}

// With bits turned over it may be another plan; then it can still be thrown away.
TEST(PageResult, GoesOnOrRefusesAJournalWithABitTurnedOver)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    Write(path, 3, Continuation::Refuse);
    const std::string whole = Contents(path);
    std::filesystem::remove(path);
    Write(path, 2, Continuation::Refuse);
    const std::string part = Contents(path + ".qva-part");
    const std::string journal = Contents(path + ".qva-journal");
    const char* every = std::getenv("LUMO_SWEEP_STRIDE");
    const std::size_t stride = every != nullptr ? std::strtoul(every, nullptr, 10) : 13;
    std::cout << journal.size() * 8 / std::max(stride, std::size_t{1}) << " journals tried\n";
    for (std::size_t bit = 0; bit < journal.size() * 8; bit += std::max(stride, std::size_t{1})) {
        SCOPED_TRACE(bit);
        std::string changed = journal;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
        samples::WriteBytes(path + ".qva-part", part);
        samples::WriteBytes(path + ".qva-journal", changed);
        const std::string error = samples::ErrorOf([&] { Write(path, 3, Continuation::Resume); });
        if (!error.empty()) {
            EXPECT_NE(std::string::npos, error.find("other options")) << error;
            EXPECT_EQ(part, Contents(path + ".qva-part"));
            Write(path, 3, Continuation::Any);
        }
        EXPECT_EQ(whole, Contents(path));
        std::filesystem::remove(path);
    }
}

// Neither waited for nor written through, and never removed.
TEST(PageResult, TakesOnlyRegularFilesBesideTheResult)
{
    const samples::Folder folder;
    const std::string path = folder / "a.tif";
    samples::WriteBytes(folder / "precious", "precious");
    for (const std::string& name : {path + ".qva-part", path + ".qva-journal"}) {
        const std::pair<const char*, std::function<void()>> kinds[] = {
            {"pipe", [&] { mkfifo(name.c_str(), 0600); }},
            {"folder", [&] { std::filesystem::create_directory(name); }},
            {"link", [&] { std::filesystem::create_symlink("precious", name); }},
            {"link to nowhere", [&] { std::filesystem::create_symlink("none", name); }},
        };
        for (const auto& [kind, make] : kinds) {
            SCOPED_TRACE(kind);
            make();
            for (const bool hasPart : {false, true}) {
                const std::string other = path + ".qva-part";
                if (hasPart && name != other) {
                    samples::WriteBytes(other, "begun");
                }
                for (const Continuation next : {Continuation::Refuse, Continuation::Resume,
                                                Continuation::Restart, Continuation::Any})
                {
                    const std::string error = samples::ErrorOf([&] { Write(path, 1, next); });
                    EXPECT_EQ(path + ": cannot be written: " + name + " is not a regular file",
                              error);
                }
                EXPECT_EQ(name == other || hasPart,
                          std::filesystem::exists(std::filesystem::symlink_status(other)));
            }
            std::filesystem::remove(name);
            std::filesystem::remove(path + ".qva-part");
        }
    }
    EXPECT_EQ("precious", Contents(folder / "precious"));
    EXPECT_FALSE(std::filesystem::exists(folder / "none"));
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
