#include "colour/device_profile.h"

#include "colour/viewer_space.h"
#include "printer_sample.h"
#include "samples.h"

#include <cmath>
#include <gtest/gtest.h>

namespace qva {

namespace {

using samples::DeviceSample;

std::vector<std::uint16_t> DeviceValues(const DeviceProfile& device,
                                        const std::vector<std::uint16_t>& codes)
{
    std::vector<std::uint16_t> values(codes.size() / 3 *
                                      static_cast<std::size_t>(device.Channels()));
    device.FromCodes(codes.data(), codes.size() / 3, values.data());
    return values;
}

Lab PaperLab(const DeviceProfile& device, const std::vector<std::uint16_t>& values,
             PaperWhite white)
{
    Lab lab{};
    device.ToLab(values.data(), 1, white, &lab);
    return lab;
}

// The sample has L* 95 on bare paper, 10 under all ink; on paper of 0.8 of the light of the perfect
// diffuser that is, by CIE 15, L* 87.0 and 8.0.
TEST(DeviceProfile, KnowsPaperAndInk)
{
    for (const bool isCmyk : {false, true}) {
        const DeviceProfile device = DeviceSample({.isCmyk = isCmyk, .whiteY = 0.8});
        EXPECT_EQ(isCmyk, device.IsInk());
        EXPECT_EQ(isCmyk ? "CMYK" : "RGB", device.Space());
        const std::vector<std::uint16_t> paper =
            isCmyk ? std::vector<std::uint16_t>{0, 0, 0, 0}
                   : std::vector<std::uint16_t>{65535, 65535, 65535};
        const std::vector<std::uint16_t> black = isCmyk ? std::vector<std::uint16_t>{0, 0, 0, 65535}
                                                        : std::vector<std::uint16_t>{0, 0, 0};
        EXPECT_NEAR(95.0, PaperLab(device, paper, PaperWhite::Adapted)[0], 0.02);
        EXPECT_NEAR(10.0, PaperLab(device, black, PaperWhite::Adapted)[0], 0.02);
        EXPECT_NEAR(87.05, PaperLab(device, paper, PaperWhite::Shown)[0], 0.05);
        EXPECT_NEAR(8.14, PaperLab(device, black, PaperWhite::Shown)[0], 0.1);
    }
}

// Codes of 6000 ask for L* 4.7, darker than the sample's ink: its black. Compensation leads to
// about L* 13.6 instead, which is 0.04 of the way to paper.
TEST(DeviceProfile, CompensatesBlackWhereAsked)
{
    const std::vector<std::uint16_t> dark(3, 6000);
    const DeviceProfile compensated = DeviceSample({});
    const DeviceProfile plain = DeviceSample({}, {.blackPointCompensation = false});
    EXPECT_GT(1000, DeviceValues(plain, dark)[0]);
    EXPECT_NEAR(0.042 * 65535, DeviceValues(compensated, dark)[0], 1000);
    Lab asked{};
    compensated.AskedLab(dark.data(), 1, &asked);
    // Y = (6000 / 65535) ^ 2.2 lies on the straight part of CIE 15.
    EXPECT_NEAR(903.3 * std::pow(6000.0 / 65535.0, 2.2), asked[0], 0.02);
    EXPECT_NEAR(0.0, asked[1], 0.02);
}

TEST(DeviceProfile, SeparatesInks)
{
    const DeviceProfile device = DeviceSample({.isCmyk = true});
    EXPECT_EQ(4, device.Channels());
    EXPECT_EQ("Black", device.ChannelNames()[3]);
    // The sample's tables are coarse: half a percent.
    for (const std::uint16_t ink : DeviceValues(device, {65535, 65535, 65535})) {
        EXPECT_GT(330, ink);
    }
    EXPECT_LT(60000, DeviceValues(device, {0, 0, 0})[0]);
}

TEST(DeviceProfile, NamesWhatIsMissing)
{
    const auto complaint = [](const samples::PrinterKind& kind) {
        return samples::ErrorOf([&kind] { DeviceSample(kind); });
    };
    EXPECT_EQ("sample.icc: the profile has no table from device values to colours (AToB)",
              complaint({.hasFromDevice = false}));
    EXPECT_EQ("sample.icc: the profile has no table from colours to device values (BToA)",
              complaint({.isCmyk = true, .hasToDevice = false}));
}

// L* 50 is the sRGB signal 0.4663 by IEC 61966-2-1; white is white, and a green of Display P3 is no
// colour of sRGB.
TEST(ViewerSpace, ShowsColours)
{
    const Lab colours[3] = {{100.0, 0.0, 0.0}, {50.0, 0.0, 0.0}, {88.0, -90.0, 80.0}};
    for (const bool isP3 : {false, true}) {
        const ViewerSpace space = isP3 ? ViewerSpace::DisplayP3() : ViewerSpace::Srgb();
        float rgb[9];
        space.FromLab(colours, 3, rgb);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(1.0f, rgb[k], 0.002f);
            EXPECT_NEAR(0.4663f, rgb[3 + k], 0.001f);
        }
        EXPECT_EQ(!isP3, rgb[6] < -0.01f) << rgb[6];
        EXPECT_EQ(!isP3, space.IsSrgb());
    }
    EXPECT_EQ(ViewerSpace::DisplayP3().Profile(), ViewerSpace::DisplayP3().Profile());
}

TEST(ViewerSpace, RefusesPrinters)
{
    const samples::Folder folder;
    samples::WriteBytes(folder / "p.icc", samples::PrinterSample());
    EXPECT_NE(std::string::npos,
              samples::ErrorOf([&] { ViewerSpace::Monitor(folder / "p.icc"); }).find("a printer"));
}

} // namespace

} // namespace qva
