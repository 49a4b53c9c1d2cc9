#include "page/page_job.h"

#include "samples.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace qva {

namespace {

PageJob Job()
{
    PageJob job;
    job.plan.page = {300, 200};
    job.plan.margin = 80;
    job.plan.bandLines = 40;
    job.plan.stripLines = 20;
    job.range.bottom = 0.005;
    job.range.top = 1000.0;
    job.profileDigest = 0xfedcba9876543210;
    job.pageDigest = 1;
    job.share = {2, 5};
    return job;
}

// A run goes on with what was begun under the same line, and shares are put together: what changes
// bytes and is not in it makes seams.
TEST(PageJob, TellsEveryChangeOfTheBytesApart)
{
    const std::function<void(PageJob&)> changes[] = {
        [](PageJob& job) { job.plan.page.width = 301; },
        [](PageJob& job) { job.plan.page.height = 201; },
        [](PageJob& job) { job.plan.direction = Direction::Columns; },
        [](PageJob& job) { job.plan.margin = 81; },
        [](PageJob& job) { job.plan.bandLines = 60; },
        [](PageJob& job) { job.plan.stripLines = 10; },
        [](PageJob& job) { job.light.exposure = 0.01; },
        [](PageJob& job) { job.light.repairs = true; },
        [](PageJob& job) { job.light.fitsColour = true; },
        [](PageJob& job) { job.light.mixesRims = true; },
        [](PageJob& job) { job.light.shoulderEnd = 10000.5; },
        [](PageJob& job) { job.range.bottom = 0.0050000000001; },
        [](PageJob& job) { job.range.top = 1000.0000000001; },
        [](PageJob& job) { job.render.threshold = 1.31; },
        [](PageJob& job) { job.render.paperWhite = 200; },
        [](PageJob& job) { job.render.saturation = true; },
        [](PageJob& job) { job.render.blackPointCompensation = false; },
        [](PageJob& job) { job.profileDigest = 0xfedcba9876543211; },
        [](PageJob& job) { job.write.compression = Compression::Lzw; },
        [](PageJob& job) { job.write.compression = Compression::None; },
        [](PageJob& job) { job.write.dpi = 300.0; },
        [](PageJob& job) { job.write.metadata.exif = {1}; },
        [](PageJob& job) { job.write.metadata.xmp = {2}; },
        [](PageJob& job) { job.write.metadata.iptc = {3}; },
        [](PageJob& job) { job.pageDigest = 2; },
    };
    std::set<std::string> lines = {JobText(Job())};
    for (const auto& change : changes) {
        PageJob job = Job();
        change(job);
        EXPECT_TRUE(lines.insert(JobText(job)).second) << JobText(job);
        EXPECT_NE("nothing", DifferenceOf(JobText(Job()), JobText(job)));
    }
    PageJob other = Job();
    other.share = {3, 5};
    EXPECT_EQ(JobText(Job()), JobText(other));
    EXPECT_NE(ShareText(Job()), ShareText(other));
    EXPECT_EQ(1u, lines.count(JobText(other)));
    for (const std::string& line : lines) {
        EXPECT_EQ(std::string::npos, line.find('\n'));
    }
}

TEST(PageJob, IsReadBackFromAShare)
{
    const PageJob job = Job();
    const ShareRecord record = ParseShare(ShareText(job, 0xffffffff), "s.tif");
    EXPECT_EQ(2, record.share.number);
    EXPECT_EQ(5, record.share.count);
    EXPECT_EQ(0xffffffff, record.checksum);
    EXPECT_EQ(JobText(job), record.job);
    EXPECT_EQ(300, record.plan.page.width);
    EXPECT_EQ(200, record.plan.page.height);
    EXPECT_EQ(Direction::Rows, record.plan.direction);
    EXPECT_EQ(80, record.plan.margin);
    EXPECT_EQ(40, record.plan.bandLines);
    EXPECT_EQ(20, record.plan.stripLines);
    EXPECT_TRUE(record.metadata.exif.empty());
    EXPECT_EQ("nothing", DifferenceOf(record.job, JobText(job)));
    PageJob described = job;
    described.write.metadata = {{0, 0xff}, {'<'}, {0x1c}};
    const ShareRecord withMetadata = ParseShare(ShareText(described, 7), "s.tif");
    EXPECT_EQ(described.write.metadata.exif, withMetadata.metadata.exif);
    EXPECT_EQ(described.write.metadata.xmp, withMetadata.metadata.xmp);
    EXPECT_EQ(described.write.metadata.iptc, withMetadata.metadata.iptc);
    PageJob other = job;
    other.render.threshold = 20.0;
    EXPECT_EQ("threshold is 1.3 and 20.0", DifferenceOf(record.job, JobText(other)));
    EXPECT_EQ("version is \"a\" and not stated", DifferenceOf(R"({"version":"a"})", "{}"));
}

TEST(PageJob, RefusesSharesThatMakeNoSense)
{
    const std::string good = ShareText(Job(), 7);
    const std::pair<std::string, std::string> changes[] = {
        {"\"qvaShare\":2", "\"qvaShare\":0"},
        {"\"qvaShare\":2", "\"qvaShare\":6"},
        {"\"of\":5", "\"of\":6"}, // of five bands
        {"\"of\":5", "\"of\":5.5"},
        {"\"width\":300", "\"width\":0"},
        {"\"width\":300", "\"width\":\"300\""},
        {"\"height\":200", "\"height\":2147483648"},
        {"\"margin\":80", "\"margin\":-1"},
        {"\"bandLines\":40", "\"bandLines\":0"},
        {"\"stripLines\":20", "\"stripLine\":20"},
        {"\"crc32\":7", "\"crc32\":-7"},
        {"\"crc32\":7", "\"crc32\":4294967296"},
        {"\"crc32\":7}", "\"crc32\":7"},
        {"\"page\":{", "\"page\":[{"},
    };
    for (const auto& [from, to] : changes) {
        std::string text = good;
        ASSERT_NE(std::string::npos, text.find(from)) << from;
        text.replace(text.find(from), from.size(), to);
        const std::string error = samples::ErrorOf([&text] { ParseShare(text, "s.tif"); });
        EXPECT_TRUE(error.starts_with("s.tif: is not a share of a page")) << to << error;
    }
}

} // namespace

} // namespace qva
