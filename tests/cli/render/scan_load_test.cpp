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

/// Two blocks of PQ signals with primaries whose blue has negative luminance: there is something to
/// repair.
void ExpectSameKeptAsRead(bool isFloat, int orientation, const LightSteps& light)
{
    SourceDescription description = Sized({700, 400}, orientation);
    description.isFloat = isFloat;
    Interpretation meaning = samples::Codes(Transfer::Pq, 10000.0, FindPrimaries("aces").value());
    meaning.isInteger = !isFloat;
    std::vector<float> samples(700 * 400 * 3);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(i * 40503 % 65536);
    }
    RenderRange range;
    range.top = 9000.0;
    Progress progress(ProgressStyle::None);
    SampleCounts counts;
    const SceneDecoder decoder(meaning, "a");
    FakeSource read(description, samples);
    const Page expected = LoadPage(read, decoder, light, range, progress);
    FakeSource measured(description, samples);
    const PictureStatistics statistics = Scan(measured, decoder, counts, progress);
    FakeSource source(description, samples);
    KeptSamples kept;
    EXPECT_EQ(statistics.LogMeanLuminance(),
              Scan(source, decoder, counts, progress, &kept).LogMeanLuminance());
    ASSERT_EQ(!isFloat || orientation == 1, kept.IsThere());
    if (kept.IsThere()) {
        const Page page = MakePage(std::move(kept), description, decoder, light, range);
        ASSERT_EQ(expected.size.width, page.size.width);
        EXPECT_TRUE(std::equal(expected.codes.get(), expected.codes.get() + samples.size(),
                               page.codes.get()));
    }
}

TEST(MakePage, IsWhatReadingAgainGives)
{
    const int before = Workers();
    for (const bool repairs : {false, true}) {
        LightPlan plan;
        plan.repairs = repairs;
        plan.fitsColour = true;
        const LightSteps light(plan);
        for (const int orientation : {1, 6, 7}) {
            SCOPED_TRACE(orientation);
            SetWorkers(orientation == 6 ? 1 : 5);
            ExpectSameKeptAsRead(false, orientation, light);
            ExpectSameKeptAsRead(true, orientation, light);
        }
    }
    SetWorkers(before);
}

} // namespace

} // namespace qva
