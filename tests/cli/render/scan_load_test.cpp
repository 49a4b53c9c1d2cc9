#include "render/scan_load.h"

#include "base/workers.h"
#include "meanings.h"
#include "samples.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

/// A source that is in memory already.
class FakeSource : public ImageSource {
public:
    FakeSource(SourceDescription description, std::vector<float> rgb)
        : description_(std::move(description)), rgb_(std::move(rgb))
    {
    }
    void Open(const std::string&, const SizeLimits&) override {}
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override
    {
        const auto values = static_cast<std::size_t>(count * Size().width * 3);
        std::copy_n(rgb_.data() + next_, values, rgb);
        next_ += values;
    }
    void Close() override {}

private:
    SourceDescription description_;
    std::vector<float> rgb_;
    std::size_t next_ = 0;
};

SourceDescription Sized(ImageSize size, int orientation = 1)
{
    SourceDescription description;
    description.size = size;
    description.orientation = orientation;
    description.bits = 16;
    return description;
}

// Stored rows ABC and DEF; TIFF 6.0, tag 274: where row 0 and column 0 of the stored picture lie
// in the upright one.
TEST(LoadPage, SetsThePictureUpright)
{
    const struct {
        int orientation;
        const char* upright;
        std::int64_t width;
    } cases[] = {{1, "ABCDEF", 3}, {2, "CBAFED", 3}, {3, "FEDCBA", 3}, {4, "DEFABC", 3},
                 {5, "ADBECF", 2}, {6, "DAEBFC", 2}, {7, "FCEBDA", 2}, {8, "CFBEAD", 2}};
    RenderRange range;
    range.passThrough = true;
    Progress progress(ProgressStyle::None);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.orientation);
        std::vector<float> rgb;
        for (const char letter : std::string("ABCDEF")) {
            rgb.insert(rgb.end(), 3, static_cast<float>(letter));
        }
        FakeSource source(Sized({3, 2}, c.orientation), rgb);
        const Page page = LoadPage(source, SceneDecoder(samples::Codes(Transfer::Pq, 10000.0), "a"),
                                   LightSteps({}), range, progress);
        EXPECT_EQ(c.width, page.size.width);
        std::string upright;
        for (std::size_t i = 0; i < 6; ++i) {
            upright.push_back(static_cast<char>(page.codes[i * 3 + 2]));
        }
        EXPECT_EQ(c.upright, upright);
    }
}

TEST(LoadPage, LeavesPqCodesAlone)
{
    std::vector<float> codes(65536 * 3);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = static_cast<float>(i / 3);
    }
    FakeSource source(Sized({256, 256}), codes);
    RenderRange range;
    range.passThrough = true;
    Progress progress(ProgressStyle::None);
    const Page page = LoadPage(source, SceneDecoder(samples::Codes(Transfer::Pq, 10000.0), "a"),
                               LightSteps({}), range, progress);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        ASSERT_EQ(i / 3, page.codes[i]);
    }
}

TEST(LoadPage, RoundsLinearCodesAndCutsAtTheEnds)
{
    const Interpretation meaning = samples::Light(65535.0);
    RenderRange range;
    range.top = 65535.0;
    FakeSource source(Sized({2, 1}), {0.4f / 65535, 0.6f / 65535, -1.0f, 2.0f, 1.0f, INFINITY});
    Progress progress(ProgressStyle::None);
    const Page page = LoadPage(source, SceneDecoder(meaning, "a"), LightSteps({}), range, progress);
    const std::vector<std::uint16_t> expected = {0, 1, 0, 65535, 65535, 65535};
    EXPECT_EQ(expected, std::vector<std::uint16_t>(page.codes.get(), page.codes.get() + 6));
}

// What is kept while a picture is examined becomes the page that reading it again would give.
TEST(MakePage, IsWhatReadingAgainGivesUprightAndTurned)
{
    const int before = Workers();
    const ImageSize size = {700, 400}; // two blocks
    std::vector<float> codes(static_cast<std::size_t>(size.width * size.height * 3));
    for (std::size_t i = 0; i < codes.size(); ++i) {
        codes[i] = static_cast<float>(i * 40503 % 65536);
    }
    // Of these primaries, blue has negative luminance: there is something to repair.
    const Interpretation meaning =
        samples::Codes(Transfer::Pq, 10000.0, FindPrimaries("aces").value());
    const SceneDecoder decoder(meaning, "a", SampleKind::Codes);
    Progress progress(ProgressStyle::None);
    for (const bool repairs : {false, true}) {
        LightPlan plan;
        plan.repairs = repairs;
        plan.fitsColour = true;
        const LightSteps light(plan);
        RenderRange range;
        range.top = 9000.0;
        for (const int orientation : {1, 6, 7}) {
            for (const int threads : {1, 5}) {
                SCOPED_TRACE(orientation * 10 + threads);
                SetWorkers(threads);
                FakeSource read(Sized(size, orientation), codes);
                const Page expected =
                    LoadPage(read, SceneDecoder(meaning, "a"), light, range, progress);
                FakeSource kept(Sized(size, orientation), codes);
                KeptSamples samples;
                SampleCounts counts;
                const PictureStatistics statistics =
                    Scan(kept, decoder, counts, progress, &samples);
                FakeSource measured(Sized(size, orientation), codes);
                EXPECT_EQ(Scan(measured, decoder, counts, progress).LogMeanLuminance(),
                          statistics.LogMeanLuminance());
                ASSERT_TRUE(samples.IsThere());
                const Page page =
                    MakePage(std::move(samples), kept.Describe(), decoder, light, range);
                ASSERT_EQ(expected.size.width, page.size.width);
                EXPECT_TRUE(std::equal(expected.codes.get(), expected.codes.get() + codes.size(),
                                       page.codes.get()));
            }
        }
    }
    SetWorkers(before);
}

} // namespace

} // namespace qva
