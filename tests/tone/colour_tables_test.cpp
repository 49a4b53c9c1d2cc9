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
};

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
     257},
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
     0},
};

Triple At(const Table& table, const Triple& node)
{
    const uint16_t* v = table.values + ((node[0] * 16 + node[1]) * 16 + node[2]) * 3;
    return {v[0], v[1], v[2]};
}

/// The channel of the strictly largest coordinate, 3 where two share it.
size_t Dominant(const Triple& node)
{
    const auto top = std::max_element(node.begin(), node.end());
    return std::count(node.begin(), node.end(), *top) > 1 ? 3 : size_t(top - node.begin());
}

TEST(ColourTables, HoldKnownNodesAndNeutralGreys)
{
    for (const Table& table : tables) {
        SCOPED_TRACE(table.name);
        for (const auto& [node, codes] : table.known) {
            EXPECT_EQ(codes, At(table, node)) << node[0] << ' ' << node[1] << ' ' << node[2];
        }
        for (int i = 0; i < 16; ++i) {
            const int code = i * step + (i >= 8 && i <= 14 ? table.greyLift : 0);
            EXPECT_EQ((Triple{code, code, code}), At(table, {i, i, i})) << i;
        }
    }
}

TEST(ColourTables, DepartFromIdentityWhereAndAsFarAsMeant)
{
    for (const Table& table : tables) {
        SCOPED_TRACE(table.name);
        int departing = 0;
        std::array<int, 4> far{};
        int largest = 0;
        for (int i = 0; i < 4096; ++i) {
            const Triple node = {i / 256, i / 16 % 16, i % 16};
            const Triple codes = At(table, node);
            int departure = 0;
            for (size_t c = 0; c < 3; ++c) {
                departure = std::max(departure, std::abs(codes[c] - node[c] * step));
            }
            departing += departure > 0;
            far[Dominant(node)] += departure > 1000;
            largest = std::max(largest, departure);
        }
        EXPECT_EQ(table.departing, departing);
        EXPECT_EQ(table.farByDominant, far);
        EXPECT_EQ(table.largest, largest);
    }
}

} // namespace
} // namespace lumo
