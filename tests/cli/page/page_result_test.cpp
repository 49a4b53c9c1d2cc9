#include "page/page_result.h"

#include "formats/strip_reader.h"
#include "mutations.h"
#include "samples.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace qva {

namespace {

using samples::Content;

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

/// A page that was stopped behind two of its three bands, and what it is when it is whole.
struct StoppedPage {
    samples::Folder folder;
    std::string path = folder / "a.tif";
    std::string whole;
    std::string part;
    std::string journal;

    StoppedPage()
    {
        Write(path, 3, Continuation::Refuse);
        whole = Content(path);
        std::filesystem::remove(path);
        Write(path, 2, Continuation::Refuse);
        part = Content(path + ".qva-part");
        journal = Content(path + ".qva-journal");
    }

    /// Goes on from a part and a journal to the bytes of the whole page.
    /// @return the bands that were there.
    std::int64_t GoOn(const std::string& newPart, const std::string& newJournal) const
    {
        samples::WriteBytes(path + ".qva-part", newPart);
        samples::WriteBytes(path + ".qva-journal", newJournal);
        const std::int64_t found = Write(path, 3, Continuation::Resume);
        EXPECT_EQ(whole, Content(path));
        std::filesystem::remove(path);
        return found;
    }
};

TEST(PageResult, GoesOnToTheSameBytes)
{
    const StoppedPage page;
    for (const int stop : {0, 1, 2}) {
        const std::string path = page.folder / "stopped.tif";
        Write(path, stop, Continuation::Refuse);
        EXPECT_EQ("", Content(path)); // no name before the end
        EXPECT_EQ(stop, Write(path, 3, Continuation::Resume));
        EXPECT_EQ(page.whole, Content(path));
        EXPECT_EQ("", Content(path + ".qva-part") + Content(path + ".qva-journal"));
        std::filesystem::remove(path);
    }
    Write(page.path, 3, Continuation::Resume);
    StripReader reader(page.path);
    std::vector<std::uint16_t> codes(width * 2 * 3);
    reader.Decode(2, codes.data());
    const std::vector<std::uint16_t> expected = BandCodes(1);
    EXPECT_TRUE(std::equal(codes.begin(), codes.end(), expected.begin()));
}

TEST(PageResult, TakesOverOnlyWhatIsWhole)
{
    const StoppedPage page;
    // The last band changed, cut short; the first changed.
    for (const auto& [place, bands] : {std::pair{page.part.size() - 1, 1}, {std::size_t{12}, 0}}) {
        std::string part = page.part;
        part[place] ^= 1;
        EXPECT_EQ(bands, page.GoOn(part, page.journal)) << place;
    }
    EXPECT_EQ(1, page.GoOn(page.part.substr(0, page.part.size() - 1), page.journal));
    std::cout << page.journal.size() + 1 << " journals tried\n";
    for (std::size_t keep = 0; keep <= page.journal.size(); ++keep) {
        SCOPED_TRACE(keep);
        const std::string left = page.journal.substr(0, keep);
        const auto lines = std::count(left.begin(), left.end(), '\n');
        // The first line is the plan.
        EXPECT_EQ(std::max<std::ptrdiff_t>(lines - 1, 0), page.GoOn(page.part, left));
    }
}

// With bits turned over it may be another plan; then it can still be thrown away.
TEST(PageResult, GoesOnOrRefusesAJournalWithABitTurnedOver)
{
    const StoppedPage page;
    const std::size_t stride = samples::SweepStride() == 1 ? 1 : 13;
    std::cout << page.journal.size() * 8 / stride << " journals tried\n";
    for (std::size_t bit = 0; bit < page.journal.size() * 8; bit += stride) {
        SCOPED_TRACE(bit);
        std::string changed = page.journal;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
        const std::string error = samples::ErrorOf([&] { page.GoOn(page.part, changed); });
        if (!error.empty()) {
            EXPECT_NE(std::string::npos, error.find("other options")) << error;
            EXPECT_EQ(page.part, Content(page.path + ".qva-part"));
            Write(page.path, 3, Continuation::Any);
            EXPECT_EQ(page.whole, Content(page.path));
            std::filesystem::remove(page.path);
        }
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
    EXPECT_EQ("precious", Content(folder / "precious"));
    EXPECT_FALSE(std::filesystem::exists(folder / "none"));
}

// A run that ends between the last two steps leaves it behind.
TEST(PageResult, PassesOverTheJournalOfAFinishedRun)
{
    const StoppedPage page;
    Write(page.path, 3, Continuation::Resume);
    for (const Continuation next : {Continuation::Refuse, Continuation::Resume}) {
        samples::WriteBytes(page.path + ".qva-journal", page.journal);
        EXPECT_EQ(0, Write(page.path, 3, next));
        EXPECT_EQ(page.whole, Content(page.path));
        EXPECT_FALSE(std::filesystem::exists(page.path + ".qva-journal"));
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
    const std::string part = Content(path + ".qva-part");
    EXPECT_NE(std::string::npos, error(Continuation::Refuse, "{\"a\":1}").find("--resume"));
    EXPECT_NE(std::string::npos, error(Continuation::Resume, "{\"a\":2}").find("other options"));
    EXPECT_EQ(part, Content(path + ".qva-part"));
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
