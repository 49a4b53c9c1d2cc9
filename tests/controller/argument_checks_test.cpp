#include "api/source_encoding.h"
#include "support/caller.h"

#include <gtest/gtest.h>
#include <span>

namespace lumo::test {
namespace {

const float nan = std::nanf("");

struct Change {
    const char* name;
    void (*make)(Caller&);
};
// clang-format off
#define CHANGE(change) {#change, [](Caller& c) { c.change; }}

const Change source[] = {
    CHANGE(src.width = 0), CHANGE(src.height = 0), CHANGE(src.stride += 1),
    CHANGE(src.stride += uint64_t{1} << 32), CHANGE(src.channels = 4), CHANGE(src.bitsPerChannel = 8),
    CHANGE(src.format = 0), CHANGE(src.colorSpace = 1), CHANGE(src.pixels = nullptr),
    CHANGE(encoding.gammaType = 3), CHANGE(encoding.codeMin = 86),
    CHANGE(encoding.codeThreshold = 65536), CHANGE(encoding.codeMax = 84),
    CHANGE(encoding.luminanceMin = 1.4f), CHANGE(encoding.luminanceMin = nan),
    CHANGE(encoding.luminanceThreshold = 1000.5f), CHANGE(encoding.luminanceThreshold = 0.004f),
    CHANGE(encoding.luminanceMax = 10000.5f), CHANGE(encoding.luminanceMax = nan),
    CHANGE(conditions.outputLuminanceMax = 300), CHANGE(conditions.paramLuminanceThreshold = -0.1f),
    CHANGE(conditions.paramLuminanceThreshold = 100.1f),
    CHANGE(conditions.paramLuminanceThreshold = nan), CHANGE(conditions.reservedA = 0.0),
    CHANGE(conditions.reservedB = -1.0), CHANGE(conditions.outputProfile = nullptr),
    CHANGE(conditions.renderingIntent = 1), CHANGE(conditions.renderingIntent = 3),
    CHANGE(conditions.optionFlag = 2)};
const Change destination[] = {
    CHANGE(dst.width = 0), CHANGE(dst.stride += 1), CHANGE(dst.channels = 1), CHANGE(dst.height -= 1),
    CHANGE(dst.bitsPerChannel = 32), CHANGE(dst.format = 2), CHANGE(dst.colorSpace = 0),
    CHANGE(dst.pixels = nullptr), {"transposed", [](Caller& c) { c.dst = {40, 70, 240, 3, 16, 1, 2, 0, c.result.data()}; }}};
const Change area[] = {
    CHANGE(band.right = 70), CHANGE(band.bottom = 40), CHANGE(band.left = 70), CHANGE(band.top = 40),
    CHANGE(band.right = c.band.left++), CHANGE(band.bottom = c.band.top++), CHANGE(page.pageWidth = 0),
    CHANGE(page.pageHeight = 0), CHANGE(page.pageWidth = 69), CHANGE(page.pageHeight = 39),
    CHANGE(page.left = 70), CHANGE(page.top = 40)};
// clang-format on

// The first `count` of correction, print, preview and analysis refuse each change.
void ExpectRefused(std::span<const Change> changes, int count)
{
    PrintOnPaper(164);
    QvaController analysed;
    ASSERT_EQ(QVA_OK, Caller().Analyse(analysed));
    for (const Change& change : changes) {
        SCOPED_TRACE(change.name);
        Caller c;
        change.make(c);
        QvaController controller = analysed;
        EXPECT_EQ(5u, c.Correct(controller));
        EXPECT_TRUE(count < 2 || c.Apply(controller, true) == 5);
        EXPECT_TRUE(count < 2 || c.Apply(controller, false) == 5);
        EXPECT_TRUE(count < 4 || c.Analyse(controller) == 5);
        EXPECT_EQ(1200, controller.htrParameters.resizedLongSide);
        EXPECT_EQ(static_cast<double>(1.3f), controller.htrParameters.luminanceThreshold);
        EXPECT_EQ(0, controller.analysisState.imageRows);
        EXPECT_TRUE(c.Untouched());
    }
}

TEST(ArgumentChecks, RefuseOneFieldAtATimeAndChangeNothing)
{
    ExpectRefused(source, 4);
    ExpectRefused(destination, 2);
    ExpectRefused(area, 1);
    QvaController controller;
    Caller c;
    c.encoding.luminanceMax = 10000.0f;
    c.conditions.paramLuminanceThreshold = 100.0f;
    c.band.left = 69;
    EXPECT_EQ(QVA_OK, c.Analyse(controller));
    EXPECT_EQ(QVA_OK, c.Correct(controller));
}

TEST(SourceEncoding, PlacesTheThresholdCodeInFloat)
{
    const std::tuple<float, float, float, uint32_t> cases[] = {
        // 85.1955; in double 6234.99986 and 4807.99950
        {0.0f, 1000.0f, 1.3f, 85},
        {0.0f, 1000.0f, 95.14f, 6235},
        {0.005f, 1000.0f, 73.37f, 4808},
        {0.0f, 100.0f, 100.0f, 65535},
        {50.0f, 50.0f, 50.0f, 0}};
    for (const auto& [low, high, threshold, code] : cases) {
        const QVA_OUTPUT_CONDITIONS conditions = {100, threshold, 1.0, 1.0, "", 0, 0};
        EXPECT_EQ(code, MakeSourceEncoding({1, low, high}, conditions).codeThreshold);
    }
}

} // namespace
} // namespace lumo::test
