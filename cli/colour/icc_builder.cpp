#include "colour/icc_builder.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace qva {

namespace {

using Bytes = std::vector<unsigned char>;

void Append32(Bytes& out, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<unsigned char>(value >> shift));
    }
}

void AppendText(Bytes& out, std::string_view text)
{
    for (const char letter : text) {
        out.push_back(static_cast<unsigned char>(letter));
    }
}

void AppendFixed(Bytes& out, double value)
{
    Append32(out,
             static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * 65536))));
}

Bytes TypeOf(std::string_view signature)
{
    Bytes out;
    AppendText(out, signature);
    Append32(out, 0);
    return out;
}

Bytes XyzTag(const Vector3& xyz)
{
    Bytes out = TypeOf("XYZ ");
    for (const double value : xyz) {
        AppendFixed(out, value);
    }
    return out;
}

/// multiLocalizedUnicodeType with one English text.
Bytes TextTag(const std::string& text)
{
    Bytes out = TypeOf("mluc");
    Append32(out, 1);
    Append32(out, 12);
    AppendText(out, "enUS");
    Append32(out, static_cast<std::uint32_t>(text.size() * 2));
    Append32(out, 28);
    for (const char letter : text) {
        out.push_back(0);
        out.push_back(static_cast<unsigned char>(letter));
    }
    return out;
}

/// parametricCurveType, function 0: Y = X ^ exponent.
Bytes CurveTag(double exponent)
{
    Bytes out = TypeOf("para");
    Append32(out, 0);
    AppendFixed(out, exponent);
    return out;
}

Bytes MatrixTag(const Matrix3& matrix)
{
    Bytes out = TypeOf("sf32");
    for (const auto& row : matrix) {
        for (const double value : row) {
            AppendFixed(out, value);
        }
    }
    return out;
}

Vector3 Column(const Matrix3& matrix, int column)
{
    return {matrix[0][column], matrix[1][column], matrix[2][column]};
}

struct Tag {
    std::string_view signature;
    Bytes data;
};

Bytes Header(std::uint32_t size)
{
    Bytes out;
    Append32(out, size);
    Append32(out, 0);
    Append32(out, 0x04300000);
    AppendText(out, "mntrRGB XYZ ");
    // A fixed date keeps the same picture's bytes the same: 2024-01-01 00:00:00.
    for (const int field : {2024 / 256, 2024 % 256, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}) {
        out.push_back(static_cast<unsigned char>(field));
    }
    AppendText(out, "acsp");
    out.resize(68);
    for (const double value : pcsWhite) {
        AppendFixed(out, value);
    }
    out.resize(128);
    return out;
}

Bytes Assemble(const std::vector<Tag>& tags)
{
    constexpr std::size_t entryBytes = 12;
    const std::size_t end = 128 + 4 + tags.size() * entryBytes;
    Bytes table;
    Bytes data;
    Append32(table, static_cast<std::uint32_t>(tags.size()));
    for (const Tag& tag : tags) {
        AppendText(table, tag.signature);
        Append32(table, static_cast<std::uint32_t>(end + data.size()));
        Append32(table, static_cast<std::uint32_t>(tag.data.size()));
        data.insert(data.end(), tag.data.begin(), tag.data.end());
        data.resize((data.size() + 3) / 4 * 4);
    }
    Bytes profile = Header(static_cast<std::uint32_t>(end + data.size()));
    profile.insert(profile.end(), table.begin(), table.end());
    profile.insert(profile.end(), data.begin(), data.end());
    return profile;
}

} // namespace

std::vector<unsigned char> BuildRgbProfile(const Chromaticities& primaries, double exponent,
                                           const std::string& description)
{
    const Matrix3 adaptation = AdaptWhite(ToXyz(primaries.white), pcsWhite);
    const Matrix3 colorants = Multiply(adaptation, RgbToXyz(primaries));
    const Bytes curve = CurveTag(exponent);
    return Assemble({{"desc", TextTag(description)},
                     {"cprt", TextTag("No copyright, use freely")},
                     {"wtpt", XyzTag(pcsWhite)},
                     {"chad", MatrixTag(adaptation)},
                     {"rXYZ", XyzTag(Column(colorants, 0))},
                     {"gXYZ", XyzTag(Column(colorants, 1))},
                     {"bXYZ", XyzTag(Column(colorants, 2))},
                     {"rTRC", curve},
                     {"gTRC", curve},
                     {"bTRC", curve}});
}

std::vector<unsigned char> RenderedProfile()
{
    return BuildRgbProfile(bt2020, 2.2, "BT.2020 gamma 2.2");
}

} // namespace qva
