// Files changed in one place in many ways: each is read by a documented rule or refused by name,
// without memory for what it only states.
#include "base/memory_limit.h"
#include "colour/icc_builder.h"
#include "colour/printer_profile.h"
#include "colour/profile_transform.h"
#include "formats/image_source.h"
#include "formats/strip_reader.h"
#include "mutations.h"
#include "page/page_job.h"
#include "page/page_result.h"
#include "picture_kinds.h"
#include "samples.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::allowance;
using samples::Content;
using samples::ErrorOf;
using samples::Folder;
using samples::Read;

/// Every kind of picture, changed in many ways.
void TryPictures(const std::function<long(const std::string&, const samples::Attempt&)>& mutate)
{
    const Folder kinds;
    const Folder folder;
    const std::string path = folder / "mutated";
    samples::WritePictureKinds(kinds / "");
    const std::uint64_t before = PeakMemory();
    long tried = 0;
    long refused = 0;
    const auto attempt = [&](const std::string& bytes) {
        // A file system may wait for the disk where a file replaces its own bytes.
        std::filesystem::remove(path);
        samples::WriteBytes(path, bytes);
        const std::string error = ErrorOf([&path] { Read(path, 1 << 18); });
        EXPECT_TRUE(error.empty() || error.starts_with(path + ": ")) << error;
        refused += error.empty() ? 0 : 1;
    };
    for (const auto& kind : std::filesystem::directory_iterator(kinds / "")) {
        SCOPED_TRACE(kind.path().filename());
        const std::string whole = Content(kind.path());
        tried += mutate(whole, attempt);
        ASSERT_GT(before + allowance, PeakMemory());
    }
    std::cout << tried << " files tried, " << refused << " refused\n";
}

TEST(MutatedFiles, CutOrWithBitsTurnedOverAreReadOrRefusedByName)
{
    TryPictures([](const std::string& whole, const samples::Attempt& attempt) {
        return samples::CutAndTurnOver(whole, samples::SweepStride(), attempt);
    });
}

// Sizes, counts and places in directories, attributes and chunks are among the places.
TEST(MutatedFiles, WithNumbersWrittenOverAreReadOrRefusedByName)
{
    TryPictures([](const std::string& whole, const samples::Attempt& attempt) {
        return samples::WriteNumbers(whole, samples::SweepStride(), attempt);
    });
}

// Bytes behind a picture make its file longer, and are not its pixels.
TEST(MutatedFiles, WithZerosBehindThemHoldNoLargerPicture)
{
    const Folder kinds;
    const Folder folder;
    const std::string path = folder / "padded";
    samples::WritePictureKinds(kinds / "");
    // With the shorter side of every kind at least 28 megapixels, of less than one pixel a byte.
    constexpr std::uint32_t side = 4000000;
    constexpr std::int64_t many = std::int64_t{1} << 24;
    for (const auto& kind : std::filesystem::directory_iterator(kinds / "")) {
        SCOPED_TRACE(kind.path().filename());
        const std::string whole = Content(kind.path());
        for (std::size_t place = 0; place + 4 < std::min<std::size_t>(whole.size(), 256); ++place) {
            std::filesystem::remove(path);
            // Of two sides that follow each other one is hit in the file's own order of bytes.
            samples::WriteBytes(path, samples::WithNumber(whole, place, side, place / 4 % 2 == 0) +
                                          std::string(4096, '\0'));
            std::int64_t pixels = 0;
            const std::string error = ErrorOf([&] {
                const auto source = OpenImage(path, {1 << 30});
                const ImageSize size = source->Size();
                pixels = size.width * size.height;
                std::vector<float> row(static_cast<std::size_t>(size.width * 3));
                for (std::int64_t y = 0; pixels > many && y < size.height; ++y) {
                    source->ReadRows(1, row.data());
                }
            });
            EXPECT_TRUE(pixels <= many || !error.empty()) << place;
        }
    }
}

/// Two bands of 12 x 10 pixels, as qva page --band writes them.
std::string Share(const std::string& path)
{
    PageJob job;
    job.plan.page = {12, 10};
    job.plan.bandLines = 6;
    job.plan.stripLines = 3;
    job.share = {1, 1};
    job.write.metadata = samples::Described();
    PageResult result(path, StripsOf(job.plan, {0, 10}, job.write), job.plan.bandLines,
                      ShareText(job), Continuation::Restart);
    std::vector<std::uint16_t> codes(12 * 6 * 3);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = static_cast<std::uint16_t>(i * 997);
    }
    result.Append(codes.data());
    result.Append(codes.data());
    result.Finish([&job](std::uint32_t checksum) { return ShareText(job, checksum); });
    result.Commit();
    return Content(path);
}

void ReadShare(const std::string& path)
{
    StripReader reader(path);
    const ShareRecord record = ParseShare(reader.Page().description, path);
    EXPECT_EQ("nothing", DifferenceOf(record.job, record.job));
    const StripLayout& layout = reader.Page().layout;
    std::vector<std::uint16_t> codes;
    for (std::int64_t strip = 0; strip < layout.Strips(); ++strip) {
        reader.Encoded(strip);
        codes.resize(layout.SizeOf(strip) / 2);
        reader.Decode(strip, codes.data());
    }
}

/// Changes a file in both ways: each use of it is done or refused by name.
void TryBoth(const std::string& whole, const std::string& name,
             const std::function<void(const std::string&)>& use)
{
    const std::uint64_t before = PeakMemory();
    long refused = 0;
    const auto attempt = [&](const std::string& bytes) {
        const std::string error = ErrorOf([&] { use(bytes); });
        EXPECT_TRUE(error.empty() || error.starts_with(name + ": ")) << error;
        refused += error.empty() ? 0 : 1;
    };
    const long tried = samples::CutAndTurnOver(whole, samples::SweepStride(), attempt) +
                       samples::WriteNumbers(whole, samples::SweepStride(), attempt);
    EXPECT_GT(before + allowance, PeakMemory());
    std::cout << tried << " tried, " << refused << " refused\n";
}

TEST(MutatedFiles, SharesAreReadOrRefusedByName)
{
    const Folder folder;
    const std::string path = folder / "share.tif";
    const std::string whole = Share(path);
    ASSERT_EQ("", ErrorOf([&path] { ReadShare(path); }));
    TryBoth(whole, path, [&path](const std::string& bytes) {
        std::filesystem::remove(path);
        samples::WriteBytes(path, bytes);
        ReadShare(path);
    });
}

TEST(MutatedFiles, ProfilesAreUsedOrRefusedByName)
{
    const std::vector<unsigned char> profile = RenderedProfile();
    const std::string whole(profile.begin(), profile.end());
    TryBoth(whole, "name", [](const std::string& text) {
        CheckPrinterProfile({text.begin(), text.end()}, "name");
    });
    TryBoth(whole, "name", [](const std::string& text) {
        ProfileTransform({text.begin(), text.end()}, "name");
    });
}

} // namespace

} // namespace qva
