#include "conformance/conformance_case.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <omp.h>

namespace lumo::test {
namespace {

class Conformance : public testing::TestWithParam<ConformanceCase> {};

// The stored results come from a slow program written independently of the library.
TEST_P(Conformance, GivesTheStoredBytesForEveryThreadCount)
{
    const ConformanceCase& c = GetParam();
    const std::vector<uint16_t> expected =
        c.expected == "-" ? std::vector<uint16_t>() : LoadCodes("expected/" + c.expected);
    for (const int threads : {1, 2, 3, 7}) {
        SCOPED_TRACE(threads);
        omp_set_num_threads(threads);
        const ConformanceResult result = RunConformanceCase(c);
        ASSERT_EQ(c.status, result.status);
        if (expected.empty()) {
            continue;
        }
        ASSERT_EQ(expected.size(), result.pixels.size());
        const auto [mine, theirs] =
            std::mismatch(result.pixels.begin(), result.pixels.end(), expected.begin());
        ASSERT_EQ(result.pixels.end(), mine) << "first at sample " << mine - result.pixels.begin()
                                             << ": " << *mine << ", not " << *theirs;
    }
}

INSTANTIATE_TEST_SUITE_P(Stored, Conformance, testing::ValuesIn(LoadConformanceCases()),
                         [](const auto& param) { return param.param.name; });

} // namespace
} // namespace lumo::test
