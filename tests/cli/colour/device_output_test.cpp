#include "colour/device_output.h"

#include "printer_sample.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace qva {

namespace {

struct Sample {
    explicit Sample(bool isCmyk)
        : profile(samples::ProfileSample({.isCmyk = isCmyk})), device(profile, {}, "sample.icc")
    {
    }
    PrinterProfile profile;
    DeviceProfile device;
};

std::vector<std::uint16_t> Row16(const DeviceOutput& output,
                                 const std::vector<std::uint16_t>& codes)
{
    std::vector<std::uint16_t> row(codes.size() / 3 * static_cast<std::size_t>(output.Channels()));
    output.ConvertRow(codes.data(), static_cast<std::int64_t>(codes.size() / 3), 0,
                      reinterpret_cast<unsigned char*>(row.data()));
    return row;
}

// The table in between costs no more than the coarse profile itself is worth.
TEST(DeviceOutput, IsTheProfile)
{
    for (const bool isCmyk : {false, true}) {
        const Sample sample(isCmyk);
        const DeviceOutput output(sample.profile, sample.device, 16);
        std::vector<std::uint16_t> codes = {65535, 65535, 65535, 0, 0, 0};
        std::mt19937 random(5);
        for (int i = 0; i < 3000; ++i) {
            codes.push_back(static_cast<std::uint16_t>(random()));
        }
        std::vector<std::uint16_t> direct(codes.size() / 3 *
                                          static_cast<std::size_t>(output.Channels()));
        sample.device.FromCodes(codes.data(), codes.size() / 3, direct.data());
        const std::vector<std::uint16_t> row = Row16(output, codes);
        std::vector<int> differences;
        for (std::size_t i = 0; i < row.size(); ++i) {
            differences.push_back(std::abs(int{row[i]} - int{direct[i]}));
        }
        // White and black are nodes.
        EXPECT_EQ(0, *std::max_element(differences.begin(), differences.begin() + 6));
        std::sort(differences.begin(), differences.end());
        EXPECT_GT(66, differences[differences.size() / 2]);
        EXPECT_GT(700, differences[differences.size() * 99 / 100]);
    }
}

// A sky that darkens by 12 codes of 8 bits over 768 columns. Over 16 x 16 pixels the dithered codes
// have the mean of the 16-bit ones; rounded ones would be half a code off.
TEST(DeviceOutput, DithersWithoutBands)
{
    const Sample sample(false);
    const DeviceOutput deep(sample.profile, sample.device, 16);
    const DeviceOutput flat(sample.profile, sample.device, 8);
    constexpr std::size_t width = 768;
    std::vector<std::uint16_t> codes;
    for (std::size_t x = 0; x < width; ++x) {
        const auto code = static_cast<std::uint16_t>(40000 + x * 4);
        codes.insert(codes.end(), {code, code, static_cast<std::uint16_t>(code + 900)});
    }
    const std::vector<std::uint16_t> exact = Row16(deep, codes);
    std::vector<double> errors(width / 16 * 3);
    for (std::int64_t y = 0; y < 16; ++y) {
        std::vector<unsigned char> row(width * 3);
        flat.ConvertRow(codes.data(), width, y, row.data());
        for (std::size_t i = 0; i < row.size(); ++i) {
            const double error = row[i] - exact[i] / 257.0;
            ASSERT_GT(1.01, std::fabs(error));
            errors[i / 48 * 3 + i % 3] += error / 256.0;
        }
    }
    for (const double error : errors) {
        EXPECT_GT(0.06, std::fabs(error));
    }
}

} // namespace

} // namespace qva
