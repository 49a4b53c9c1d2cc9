// One stored call: what to do and what it must give.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <lumo/qva.h>
#include <string>
#include <vector>

namespace lumo::test {

/// A row of cases.tsv.
struct ConformanceCase {
    std::string name;
    std::string mode; // print, preview or bands
    std::string input;
    uint32_t width = 0;
    uint32_t height = 0;
    QVA_SOURCE_RANGE range = {};
    QVA_OUTPUT_CONDITIONS conditions = {};
    bool device = false;
    std::string before; // preview, analysis or -
    uint32_t bandSize = 0;
    bool columns = false;
    bool fullEncoding = false;
    QVA_SOURCE_ENCODING encoding = {};
    uint32_t status = 0;
    std::string expected; // file, or -
};

/// For the names of the tests.
void PrintTo(const ConformanceCase& c, std::ostream* out);

std::vector<ConformanceCase> LoadConformanceCases();

/// Packed 16-bit RGB of a data file.
std::vector<uint16_t> LoadCodes(const std::string& file);

struct ConformanceResult {
    uint32_t status = 0;
    std::vector<uint16_t> pixels;
};

/// Runs a case on a new handle. In one process only one case of mode `bands` is meaningful: the
/// first correction fixes values for all later ones.
ConformanceResult RunConformanceCase(const ConformanceCase& c);

} // namespace lumo::test
