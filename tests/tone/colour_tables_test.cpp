// The published facts of the two colour tables, so that an edited constant cannot slip through.
#include "tone/colour_tables.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace lumo {
namespace {

using Triple = std::array<int, 3>;

constexpr int step = 4369; // codes between neighbouring nodes

struct Table {
    std::string name;
    const uint16_t* values;
    std::vector<std::pair<Triple, Triple>> known; // node, its codes
    int departing;                                // nodes that differ from the identity
    std::array<int, 4> farByDominant; // of them by more than 1,000: red, green, blue, no largest
    int largest;                      // codes
    int greyLift;                     // codes at grey nodes 8 to 14
    double leastJacobian;             // of a tetrahedron; 0 is a fold
    double leastSlope;                // of an output along its own channel
};

void PrintTo(const Table& table, std::ostream* out)
{
    *out << table.name;
}

const Table tables[] = {
    {"Compression",
     colorCompressionTable,
     {{{0, 0, 0}, {0, 0, 0}},
      {{15, 15, 15}, {65535, 65535, 65535}},
      {{8, 8, 8}, {35209, 35209, 35209}},
      {{12, 12, 12}, {52685, 52685, 52685}},
      {{15, 0, 0}, {61680, 16705, 8481}},
      {{0, 15, 0}, {0, 65535, 0}},
      {{0, 0, 15}, {0, 0, 65535}},
      {{15, 15, 0}, {65535, 65535, 0}},
      {{15, 0, 15}, {65535, 0, 65535}},
      {{0, 15, 15}, {0, 65535, 65535}},
      {{15, 8, 8}, {62708, 35723, 35466}}},
     3463,
     {672, 0, 0, 0},
     16705,
     257,
     0.2,
     0.4},
    {"Correction",
     colorCorrectionTable,
     {{{0, 0, 0}, {0, 0, 0}},
      {{15, 15, 15}, {65535, 65535, 65535}},
      {{8, 8, 8}, {34952, 34952, 34952}},
      {{12, 12, 12}, {52428, 52428, 52428}},
      {{15, 0, 0}, {64024, 582, 0}},
      {{0, 15, 0}, {1825, 64637, 0}},
      {{0, 0, 15}, {0, 686, 63397}},
      {{15, 15, 0}, {64876, 65535, 23}},
      {{15, 0, 15}, {65535, 56, 64453}},
      {{0, 15, 15}, {7, 65535, 65360}},
      {{15, 8, 8}, {65524, 34969, 34902}}},
     4080,
     {120, 41, 50, 1},
     3221,
     0,
     0.45,
     0.45},
};

Triple At(const Table& table, const Triple& node)
{
    const uint16_t* v = table.values + ((node[0] * 16 + node[1]) * 16 + node[2]) * 3;
    return {v[0], v[1], v[2]};
}

std::vector<Triple> Nodes(int perSide)
{
    std::vector<Triple> nodes;
    for (int i = 0; i < perSide * perSide * perSide; ++i) {
        nodes.push_back({i / (perSide * perSide), i / perSide % perSide, i % perSide});
    }
    return nodes;
}

/// The largest absolute difference from the identity of a node's three channels.
int Departure(const Table& table, const Triple& node)
{
    const Triple codes = At(table, node);
    int largest = 0;
    for (size_t c = 0; c < 3; ++c) {
        largest = std::max(largest, std::abs(codes[c] - node[c] * step));
    }
    return largest;
}

/// The channel of the strictly largest coordinate, 3 where two share it.
size_t Dominant(const Triple& node)
{
    const auto top = std::max_element(node.begin(), node.end());
    return std::count(node.begin(), node.end(), *top) > 1 ? 3 : size_t(top - node.begin());
}

/// Slopes of the tetrahedron that is walked from `node` along the channels in `order`:
/// element [c][o] is how output o changes with input c.
std::array<std::array<double, 3>, 3> Slopes(const Table& table, Triple node, const Triple& order)
{
    std::array<std::array<double, 3>, 3> slopes{};
    for (int axis : order) {
        const Triple from = At(table, node);
        ++node[size_t(axis)];
        const Triple to = At(table, node);
        for (size_t o = 0; o < 3; ++o) {
            slopes[size_t(axis)][o] = double(to[o] - from[o]) / step;
        }
    }
    return slopes;
}

double Determinant(const std::array<std::array<double, 3>, 3>& m)
{
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

class ColourTables : public testing::TestWithParam<Table> {};

TEST_P(ColourTables, HoldKnownNodes)
{
    for (const auto& [node, codes] : GetParam().known) {
        EXPECT_EQ(codes, At(GetParam(), node)) << node[0] << ' ' << node[1] << ' ' << node[2];
    }
}

TEST_P(ColourTables, DepartFromIdentityWhereAndAsFarAsMeant)
{
    const Table& table = GetParam();
    int departing = 0;
    std::array<int, 4> far{};
    int largest = 0;
    for (const Triple& node : Nodes(16)) {
        const int departure = Departure(table, node);
        departing += departure > 0;
        far[Dominant(node)] += departure > 1000;
        largest = std::max(largest, departure);
    }
    EXPECT_EQ(table.departing, departing);
    EXPECT_EQ(table.farByDominant, far);
    EXPECT_EQ(table.largest, largest);
}

TEST_P(ColourTables, KeepGreyNeutral)
{
    for (int i = 0; i < 16; ++i) {
        const int code = i * step + (i >= 8 && i <= 14 ? GetParam().greyLift : 0);
        EXPECT_EQ((Triple{code, code, code}), At(GetParam(), {i, i, i})) << i;
    }
}

TEST_P(ColourTables, NeitherFoldNorFlattenAnyTetrahedron)
{
    const Triple orders[] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    double leastJacobian = 1.0;
    double leastSlope = 1.0;
    for (const Triple& node : Nodes(15)) {
        for (const Triple& order : orders) {
            const auto slopes = Slopes(GetParam(), node, order);
            leastJacobian = std::min(leastJacobian, Determinant(slopes));
            for (size_t c = 0; c < 3; ++c) {
                leastSlope = std::min(leastSlope, slopes[c][c]);
            }
        }
    }
    EXPECT_GT(leastJacobian, GetParam().leastJacobian);
    EXPECT_GT(leastSlope, GetParam().leastSlope);
}

INSTANTIATE_TEST_SUITE_P(Both, ColourTables, testing::ValuesIn(tables),
                         testing::PrintToStringParamName());

} // namespace
} // namespace lumo
