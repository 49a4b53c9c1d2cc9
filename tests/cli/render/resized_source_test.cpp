#include "render/resized_source.h"

#include "base/workers.h"
#include "samples.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace qva {

namespace {

/// Light of a picture that is made up, and read row by row.
class MadeSource : public ImageSource {
public:
    using Light = double (*)(double x, double y);

    MadeSource(ImageSize size, int orientation, Light light) : light_(light)
    {
        description_.path = "made";
        description_.size = size;
        description_.orientation = orientation;
        description_.isFloat = true;
    }
    void Open(const std::string&, const SizeLimits&) override { next_ = 0; }
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override
    {
        for (const std::int64_t end = next_ + count; next_ < end; ++next_) {
            for (std::int64_t x = 0; x < Size().width; ++x) {
                const auto light = static_cast<float>(
                    light_(static_cast<double>(x) + 0.5, static_cast<double>(next_) + 0.5));
                *rgb++ = light;
                *rgb++ = light * 2.0f;
                *rgb++ = light * 0.5f;
            }
        }
    }
    void Close() override {}

private:
    Light light_;
    SourceDescription description_;
    std::int64_t next_ = 0;
};

Interpretation CandelasOf2020()
{
    Interpretation meaning;
    meaning.primaries = bt2020;
    meaning.signalOneLuminance = 1.0;
    return meaning;
}

/// @param atOnce  rows of a call.
std::vector<float> ReadResized(ImageSize size, MadeSource::Light light, const Resampling& plan,
                               std::int64_t atOnce)
{
    ResizedSource source(std::make_unique<MadeSource>(size, 1, light), CandelasOf2020(), plan);
    const ImageSize target = source.Size();
    std::vector<float> rgb(static_cast<std::size_t>(target.width * target.height * 3));
    for (std::int64_t row = 0; row < target.height; row += atOnce) {
        source.ReadRows(std::min(atOnce, target.height - row), rgb.data() + row * target.width * 3);
    }
    return rgb;
}

double Waves(double x, double y)
{
    return 100.0 + 20.0 * std::sin(x / 37.0) + 10.0 * std::cos(y / 23.0 + x / 51.0);
}

// Broad waves of light are the same waves at every size, whatever part is taken: nothing moves, and
// neither bands nor tiles have borders. Two of the sizes need more than one tile and many bands.
TEST(ResizedSource, KeepsThePlaceAndTheLight)
{
    constexpr ImageSize size = {900, 400};
    for (const Resampling& plan :
         {Resampling{0, 0, 900, 400, {1400, 622}}, Resampling{0, 0, 900, 400, {300, 133}},
          Resampling{150.3, 20.7, 600, 300, {1111, 555}}, Resampling{0, 0, 900, 400, {900, 400}}})
    {
        SCOPED_TRACE(plan.target.width);
        const std::vector<float> rgb = ReadResized(size, Waves, plan, 7);
        const double across = plan.width / static_cast<double>(plan.target.width);
        const double down = plan.height / static_cast<double>(plan.target.height);
        double worst = 0.0;
        const float* pixel = rgb.data();
        for (std::int64_t y = 0; y < plan.target.height; ++y) {
            for (std::int64_t x = 0; x < plan.target.width; ++x, pixel += 3) {
                const double sourceX = plan.left + (static_cast<double>(x) + 0.5) * across;
                const double sourceY = plan.top + (static_cast<double>(y) + 0.5) * down;
                // At the picture's rim there is no light beyond it to follow.
                if (sourceX < 10 || sourceY < 10 || sourceX > 890 || sourceY > 390) {
                    continue;
                }
                const double wanted = Waves(sourceX, sourceY);
                worst = std::max(
                    {worst, std::fabs(pixel[0] - wanted), std::fabs(pixel[1] / 2.0 - wanted)});
            }
        }
        EXPECT_GT(0.05, worst);
    }
}

// Beside a lamp of 10,000 cd/m2 no pixel of a wall of 1 cd/m2 gets darker than half a stop below
// it, nor brighter than that beyond the pixels that share the lamp's rim.
TEST(ResizedSource, RingsNotAroundALamp)
{
    const auto lamp = [](double x, double) { return x < 200.0 ? 10000.0 : 1.0; };
    for (const std::int64_t width : {137, 400, 777}) {
        SCOPED_TRACE(width);
        const Resampling plan = {0, 0, 400, 40, {width, 4 * width / 40}};
        const std::vector<float> rgb = ReadResized({400, 40}, lamp, plan, 4);
        const double across = 400.0 / static_cast<double>(width);
        for (std::int64_t x = 0; x < width; ++x) {
            const double place = (static_cast<double>(x) + 0.5) * across - 200.0;
            const double light = rgb[static_cast<std::size_t>(x * 3)];
            ASSERT_LT(0.7, light);
            if (place > 1.01 * std::max(across, 1.0) + 0.5) {
                ASSERT_GT(1.42, light) << place;
            }
        }
    }
}

TEST(ResizedSource, IsTheSameForEveryNumberOfThreadsAndRows)
{
    constexpr ImageSize size = {1300, 200};
    const Resampling plan = {10, 5, 1200, 150, {1800, 225}};
    const int before = Workers();
    SetWorkers(1);
    const std::vector<float> one = ReadResized(size, Waves, plan, 225);
    SetWorkers(3);
    const std::vector<float> three = ReadResized(size, Waves, plan, 1);
    SetWorkers(before);
    EXPECT_TRUE(one == three);
}

TEST(PlanResampling, FitsOrCovers)
{
    const SizeLimits limits;
    // 3 : 2 on a page of 4 inches square, half an inch of which is cut away on each side.
    const Resampling inside =
        PlanResampling({3, 3, 0.5, 100, Fit::Contain}, {600, 400}, limits, "p");
    EXPECT_EQ(400, inside.target.width);
    EXPECT_EQ(267, inside.target.height);
    const Resampling over = PlanResampling({3, 3, 0.5, 100, Fit::Cover}, {600, 400}, limits, "p");
    EXPECT_EQ(400, over.target.height);
    EXPECT_EQ(400, over.target.width);
    EXPECT_DOUBLE_EQ(100.0, over.left);
    EXPECT_DOUBLE_EQ(400.0, over.width);
    EXPECT_DOUBLE_EQ(0.0, over.top);
    EXPECT_DOUBLE_EQ(1.0, over.Enlargement());
    EXPECT_EQ("p: 200000 x 200000 pixels are more than the 1000000000 that --max-pixels allows",
              samples::ErrorOf([&] {
                  PlanResampling({2000, 2000, 0, 100, Fit::Cover}, {600, 400}, limits, "p");
              }));
}

} // namespace

} // namespace qva
