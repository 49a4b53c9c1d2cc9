#include "literal/print.h"
#include "support/caller.h"
#include "support/random_images.h"

#include <omp.h>

namespace lumo::test {
namespace {

struct Page {
    uint32_t width, height;
    QVA_SOURCE_ENCODING encoding;
    int32_t white;
    int32_t paper = 164; // its black, 0 for none to speak of, -1 for a profile that is refused
    uint32_t darker = 1; // divides the codes
};

QVA_SOURCE_ENCODING Encoding(uint32_t gammaType, uint32_t codeMin, uint32_t codeMax, float low,
                             float high)
{
    return {0, gammaType, codeMin, low, codeMin, low, codeMax, high, {}};
}

// The exports against the same stages as plain loops over the whole page.
void ExpectLiteralPrint(const Page& page)
{
    SCOPED_TRACE(testing::Message() << page.width << " x " << page.height << ", type "
                                    << page.encoding.gammaType << ", white " << page.white);
    PrintOnPaper(static_cast<uint16_t>(std::max(page.paper, 0)));
    if (page.paper < 0) {
        FileMatcher() = {};
    }
    if (page.darker > 1) { // all light but black: far more detail than the page has
        FileMatcher().answer = [](const Triple& rgb) {
            const uint16_t y = rgb[1] > 0 ? 32768 : 1;
            return Triple{y, y, y};
        };
    }
    Caller c(page.width, page.height);
    c.source = Elements<uint16_t>(PatchyImage<uint16_t>(
        static_cast<int32_t>(page.height), static_cast<int32_t>(page.width), 3, 0.0, 65535.0, 8));
    for (size_t i = 0; i < c.source.size(); ++i) { // patches below a slope, some pixels black
        const size_t slope = i * 65535 / c.source.size();
        const auto code = static_cast<uint32_t>(c.source[i] + 3 * slope) / 4;
        c.source[i] = static_cast<uint16_t>(i / 3 % 53 == 0 ? 0 : code / page.darker);
    }
    c.src.pixels = c.source.data();
    c.conditions.outputLuminanceMax = page.white;
    std::vector<uint16_t> expected(c.result.size());
    QVA_IMAGE literal = c.dst;
    literal.pixels = expected.data();
    QVA_HANDLE handle = nullptr;
    ASSERT_EQ(QVA_OK, QVA_Initialize(&handle));
    omp_set_num_threads(1 + static_cast<int>(page.width % 3));
    for (const auto apply : {QVA_ApplyQVAForPrint, QVA_ApplyQVAForPreview}) {
        literal::Print(literal, c.src, page.encoding, c.conditions, apply == QVA_ApplyQVAForPrint);
        ASSERT_EQ(QVA_OK, apply(handle, &c.dst, &c.src, &page.encoding, 160, &c.conditions));
        EXPECT_EQ(expected, c.result);
    }
    QVA_Terminate(&handle);
}

TEST(LiteralPrint, IsWhatTheExportsWrite)
{
    const QVA_SOURCE_ENCODING linear = Encoding(0, 0, 65535, 0.05f, 4000.0f);
    const QVA_SOURCE_ENCODING gamma = Encoding(1, 1500, 60000, 0.0f, 600.0f);
    const QVA_SOURCE_ENCODING pq = Encoding(2, 0, 65535, 0.005f, 1000.0f);
    const Page pages[] = {{1, 1, pq, 100},
                          {1, 50, pq, 100},
                          {50, 1, linear, 200},
                          {2, 2, gamma, 400},
                          {7, 9, pq, 200},
                          {65, 33, linear, 100},
                          {83, 61, gamma, 100},
                          {131, 127, pq, 400},
                          {300, 200, pq, 100},
                          {300, 200, linear, 400},
                          {1300, 27, pq, 100},
                          {23, 1101, gamma, 200},
                          {120, 80, Encoding(2, 0, 65535, 0.0f, 120.0f), 100, 1, 9},
                          {90, 60, pq, 100, 0},
                          {90, 60, gamma, 200, -1},
                          {70, 45, Encoding(1, 0, 65535, 0.5f, 100.0f), 400}};
    for (const Page& page : pages) {
        ExpectLiteralPrint(page);
    }
}

} // namespace
} // namespace lumo::test
