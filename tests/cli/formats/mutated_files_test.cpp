// Files changed in one place in many ways: each is read by a documented rule or refused by name,
// without memory for what it only states.
#include "base/memory_limit.h"
#include "colour/icc_builder.h"
#include "colour/printer_profile.h"
#include "colour/profile_transform.h"
#include "formats/strip_reader.h"
#include "hostile_reading.h"
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

TEST(MutatedFiles, SharesAreReadOrRefusedByName)
{
    const Folder folder;
    const std::string path = folder / "share.tif";
    const std::string whole = Share(path);
    ASSERT_EQ("", ErrorOf([&path] { ReadShare(path); }));
    const std::uint64_t before = PeakMemory();
    long refused = 0;
    const auto attempt = [&](const std::string& bytes) {
        std::filesystem::remove(path);
        samples::WriteBytes(path, bytes);
        const std::string error = ErrorOf([&path] { ReadShare(path); });
        EXPECT_TRUE(error.empty() || error.starts_with(path + ": ")) << error;
        refused += error.empty() ? 0 : 1;
    };
    const long tried = samples::CutAndTurnOver(whole, samples::SweepStride(), attempt) +
                       samples::WriteNumbers(whole, samples::SweepStride(), attempt);
    EXPECT_GT(before + allowance, PeakMemory());
    std::cout << tried << " shares tried, " << refused << " refused\n";
}

TEST(MutatedFiles, ProfilesAreUsedOrRefusedByName)
{
    const std::vector<unsigned char> profile = RenderedProfile();
    const std::uint64_t before = PeakMemory();
    long refused = 0;
    const std::string whole(profile.begin(), profile.end());
    const auto attempt = [&](const std::string& text) {
        const std::vector<unsigned char> bytes(text.begin(), text.end());
        for (const auto& use : {std::function<void()>([&] { CheckPrinterProfile(bytes, "name"); }),
                                std::function<void()>([&] { ProfileTransform(bytes, "name"); })})
        {
            const std::string error = ErrorOf(use);
            EXPECT_TRUE(error.empty() || error.starts_with("name: ")) << error;
            refused += error.empty() ? 0 : 1;
        }
    };
    const long tried = samples::CutAndTurnOver(whole, samples::SweepStride(), attempt) +
                       samples::WriteNumbers(whole, samples::SweepStride(), attempt);
    EXPECT_GT(before + allowance, PeakMemory());
    std::cout << tried << " profiles tried in two ways, refused " << refused << " times\n";
}

} // namespace

} // namespace qva
