#include "colorspace/color_space.h"
#include "colorspace/convert_ictcp_to_xrgb.h"
#include "colorspace/convert_xrgb_to_ictcp.h"
#include "colorspace/ictcp_matrices.h"
#include "colorspace/pq.h"
#include "support/images.h"

#include <array>

namespace lumo::test {

constexpr double mid = 32767.5;

using Triples = std::array<std::array<double, 3>, 3>;

Triples Product(const Triples& a, const Triples& b)
{
    Triples product = {};
    for (int i = 0; i < 9; ++i) {
        for (int k = 0; k < 3; ++k) {
            product[i / 3][i % 3] += a[i / 3][k] * b[k][i % 3];
        }
    }
    return product;
}

Triples Inverse(const Triples& m)
{
    const auto minor = [&](int row, int col) {
        return m[(row + 1) % 3][(col + 1) % 3] * m[(row + 2) % 3][(col + 2) % 3] -
               m[(row + 1) % 3][(col + 2) % 3] * m[(row + 2) % 3][(col + 1) % 3];
    };
    const double determinant =
        m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    Triples inverse = {};
    for (int i = 0; i < 9; ++i) {
        inverse[i / 3][i % 3] = minor(i % 3, i / 3) / determinant;
    }
    return inverse;
}

// The XYZ of each primary, so that together they make the white of D65.
Triples ToXyz(const double (&x)[3], const double (&y)[3])
{
    Triples columns = {};
    for (int i = 0; i < 3; ++i) {
        columns[0][i] = x[i] / y[i];
        columns[1][i] = 1.0;
        columns[2][i] = (1.0 - x[i] - y[i]) / y[i];
    }
    const double white[3] = {0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290};
    const Triples back = Inverse(columns);
    for (int i = 0; i < 3; ++i) {
        const double share = back[i][0] * white[0] + back[i][1] * white[1] + back[i][2] * white[2];
        for (auto& row : columns) {
            row[i] *= share;
        }
    }
    return columns;
}

void ExpectRounded(const Triples& exact, const double* rounded)
{
    for (int i = 0; i < 9; ++i) {
        // Half of the fourth decimal, and a little for the rows that were brought to a sum of 1.
        EXPECT_NEAR(exact[i / 3][i % 3], rounded[i], 7e-5) << i;
    }
}

// Cones: Hunt, Pointer and Estevez for D65, as in Fairchild, "Color Appearance Models".
TEST(ICtCpMatrices, FollowFromConesAndPrimariesAndTheirInverses)
{
    const Triples cones = {
        {{0.40024, 0.7076, -0.08081}, {-0.2263, 1.16532, 0.0457}, {0, 0, 0.91822}}};
    const Triples crosstalk = {{{0.92, 0.04, 0.04}, {0.04, 0.92, 0.04}, {0.04, 0.04, 0.92}}};
    const Triples lms = Product(crosstalk, cones);
    const Triples bt709 = ToXyz({0.64, 0.30, 0.15}, {0.33, 0.60, 0.06});
    const Triples bt2020 = ToXyz({0.708, 0.170, 0.131}, {0.292, 0.797, 0.046});
    ExpectRounded(lms, ToLmsMatrix(XYZ));
    ExpectRounded(Product(lms, bt709), ToLmsMatrix(sRGB));
    ExpectRounded(Product(lms, bt2020), ToLmsMatrix(BT2020RGB));
    for (const int32_t space : {XYZ, sRGB, BT2020RGB}) {
        SCOPED_TRACE(space);
        const double* forward = ToLmsMatrix(space);
        Triples rounded;
        for (int i = 0; i < 9; ++i) {
            rounded[i / 3][i % 3] = forward[i];
        }
        ExpectRounded(Inverse(rounded), FromLmsMatrix(space));
    }
}

// ITU-R BT.2100-2, table 7: both matrices in 4096ths. Four decimals move the smallest coefficients
// by 0.3 % and the signal of a primary by up to 2.5e-4.
TEST(ConvertxRGB2ICtCp, FollowsTheStandard)
{
    const double lms[3][3] = {{1688, 2146, 262}, {683, 2951, 462}, {99, 309, 3688}};
    const double ictcp[3][3] = {{2048, 2048, 0}, {6610, -13613, 7003}, {17933, -17390, -543}};
    const ConvertxRGB2ICtCp convert(1.0, 0.0, 10000, 0, 1.0, 0.0, 0.0, 6);
    const double colours[][3] = {{1, 1, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.1, 0.01, 0.05}};
    const auto dot = [](const double* a, const double* b) {
        return (a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / 4096;
    };
    for (const auto& rgb : colours) {
        const double signal[] = {PQ(10000 * dot(lms[0], rgb)), PQ(10000 * dot(lms[1], rgb)),
                                 PQ(10000 * dot(lms[2], rgb))};
        double out[3];
        convert(rgb, out, 3);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(dot(ictcp[i], signal), out[i], 1e-3) << rgb[0] << rgb[1] << rgb[2];
        }
    }
}

TEST(ICtCpConverters, KeepGreyNeutralAndInvertEachOther)
{
    for (const int32_t space : {1, 3, 6}) {
        const ConvertxRGB2ICtCp forward(65535, 0, 1000, 0.5, 60000, 10, mid, space);
        const ConvertICtCp2xRGB back(60000, 10, PQ(1000), PQ(0.5), 65535, 0, -mid, space);
        for (const double r : {900.0, 20000.0, 30000.0, 65000.0}) {
            const double in[3] = {r, 30000.0, 0.8 * r + 6000.0};
            double out[3];
            forward(in, out, 3);
            const double chroma = std::abs(out[1] - mid) + std::abs(out[2] - mid);
            EXPECT_EQ(space != 1 && r == 30000.0, chroma < 1e-6) << chroma;
            back(out, out);
            for (int i = 0; i < 3; ++i) {
                // Four decimals in two pairs of matrices, on values of up to 65000.
                EXPECT_NEAR(in[i], out[i], 40.0) << space << ": " << r;
            }
        }
    }
}

TEST(ICtCpConverters, ReportRangesBeforeTheColourSpace)
{
    const char* message = "Error in ConvertsRGBICtCp, color space must be sRGB/BT2020RGB/XYZ";
    for (const int32_t space : {0, 2, 4, 5, 7, 8, -1}) {
        ExpectException(3, message, [&] { ConvertxRGB2ICtCp(9, 0, 100, 0, 9, 0, 0, space); });
        ExpectException(3, message, [&] { ConvertICtCp2xRGB(9, 0, 1, 0, 9, 0, 0, space); });
    }
    const char* range =
        "Error in ApplyPQInvEOTF::EnsureArguments, srcMax must be greater than srcMin";
    ExpectException(3, range, [] { ConvertxRGB2ICtCp(9, 9, 100, 0, 9, 0, 0, 2); });
}

TEST(ICtCpConverters, BlocksAndPixelsGiveTheSameBits)
{
    for (const double codeMin : {0.0, 5000.0}) { // above the first knot
        const ConvertxRGB2ICtCp forward(65535, codeMin, 1000, 0.1, 65535, 0, mid, 3);
        const ConvertICtCp2xRGB back(65535, 0, PQ(1000), PQ(0.1), 65535, codeMin, -mid, 6);
        ExpectBlockEqualsPixel(forward, [&](auto* in, auto* out) { forward(in, out, 3); });
        ExpectBlockEqualsPixel(back, [&](auto* in, auto* out) { back(in, out); });
    }
}

} // namespace lumo::test
