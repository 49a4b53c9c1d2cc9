#include "controller/qva_controller.h"
#include "support/caller.h"
#include "support/images.h"
#include "tone/htr_color_luts.h"

namespace lumo::test {
namespace {

TEST(QvaController, IsTheStagesOneAfterTheOther)
{
    PrintOnPaper(164);
    const double black = 200.0 * 164 / 65535;
    Caller print, preview, stages;
    print.conditions.outputLuminanceMax = preview.conditions.outputLuminanceMax = 200;
    QvaController controller;
    ASSERT_EQ(QVA_OK, preview.Apply(controller, false));
    EXPECT_EQ(1, FileMatcher().created);
    ASSERT_EQ(QVA_OK, print.Apply(controller, true));
    EXPECT_EQ(3, FileMatcher().created);
    ASSERT_EQ(1u + 4914u, FileMatcher().asked.size());
    EXPECT_EQ((Triple{12287, 4095, 65535}), FileMatcher().asked[2 + (3 * 17 + 1) * 17 + 16]);

    const LuminanceRangePair ranges = {{65535.0, 1000.0, 0.0, black, BT2020RGB},
                                       {65535.0, 200.0, 0.0, 2.0 * black, BT2020RGB}};
    Matrix encoded, final;
    controller.RenderTone(WrapImage(stages.src), encoded, stages.encoding, ranges);
    HtrColorCompression().Convert(encoded, encoded);
    WriteDestination(encoded, stages.dst);
    EXPECT_EQ(stages.result, preview.result);
    const Tintrix transform("", "", "", 1, 2.0, 0.0, true);
    controller.ApplyDpg(encoded, final, ranges, transform);
    WriteDestination(final, stages.dst);
    EXPECT_EQ(stages.result, print.result);
    EXPECT_NE(preview.result, print.result);
}

TEST(QvaController, LeavesTheDestinationOfAFailedPrint)
{
    void (*const faults[])(Caller&) = {
        [](Caller&) { FileMatcher().failRelease = true; },
        [](Caller& c) {
            c.src.width = c.dst.width = 0x80000001;
            c.src.stride = c.dst.stride = uint64_t{0x80000001} * 6;
        },
        [](Caller& c) { c.src.height = c.dst.height = 0x7FFFFFFF; },
        [](Caller& c) { c.encoding.luminanceThreshold = c.encoding.luminanceMax = 0.4f; }};
    for (const auto fault : faults) {
        PrintOnPaper(164); // a black of 0.5, above that range of 0.4
        Caller c;
        fault(c);
        QvaController controller;
        EXPECT_EQ(QVA_ERROR_PROCESSING, c.Apply(controller, true));
        EXPECT_TRUE(c.Untouched());
        EXPECT_EQ(FileMatcher().created, FileMatcher().terminated);
    }
}

TEST(QvaController, DecodesNoFourthEncoding)
{
    Matrix image(1, 1, rgb16Type);
    ExpectException(3, "Error in QvaController::Convert2Linear, gamma type is invalid",
                    [&] { QvaController::Convert2Linear(image, image, 3, 0.0, 1.0); });
}

TEST(QvaController, AnalysisTakesTheThresholdThenChecksTheSize)
{
    PrintOnPaper(164);
    const uint32_t cases[][3] = {{1200, 3, QVA_OK}, {1201, 3, 5}, {3, 1201, 5}};
    for (const auto& [width, height, status] : cases) {
        Caller c(width, height);
        c.conditions.paramLuminanceThreshold = 2.1f;
        QvaController controller;
        EXPECT_EQ(status, c.Analyse(controller));
        EXPECT_EQ(static_cast<double>(2.1f), controller.htrParameters.luminanceThreshold);
        EXPECT_EQ(status == QVA_OK ? 1200 : 0, controller.analysisState.analysisCols);
    }
}

TEST(QvaController, LowersAThresholdAboveTheBrightestLevel)
{
    PrintOnPaper(164);
    Caller c;
    c.encoding.luminanceMax = c.encoding.luminanceThreshold = 1.0f;
    QvaController controller; // of 1.3
    EXPECT_EQ(QVA_OK, c.Apply(controller, true));
    c.conditions.paramLuminanceThreshold = 100.0f;
    EXPECT_EQ(QVA_OK, c.Analyse(controller));
    EXPECT_EQ(100.0, controller.htrParameters.luminanceThreshold);
}

TEST(QvaController, ValidatesTheAnalysisOfACorrection)
{
    const auto validate = [](auto&& change) {
        HtrAnalysis a;
        a.analysisRows = a.analysisCols = 1200;
        static_cast<Matrix&>(a.labels) = MakeMatrix<int32_t>(2, 2, {0, 0, 0, 1});
        a.toneCurves[0] = Vector<double>(4, -1.0);
        change(a);
        return ValidateAnalysis(a);
    };
    EXPECT_EQ(QVA_OK, validate([](HtrAnalysis&) {}));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { a.analysisRows = 0; }));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { a.analysisCols = 1201; }));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { a.labels.Release(); }));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { RowOf<int32_t>(a.labels, 1)[1] = 0; }));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { a.toneCurves.Release(); }));
    EXPECT_EQ(5u, validate([](HtrAnalysis& a) { a.toneCurves[0] = Vector<double>(4, 0.0); }));
}

TEST(QvaController, AFailedAnalysisLeavesTheStoredOneToItsOwnSize)
{
    PrintOnPaper(164); // a black of 0.5, above the range of 0.4
    Caller page, same, other(60, 40);
    QvaController controller;
    ASSERT_EQ(QVA_OK, page.Analyse(controller));
    ASSERT_EQ(QVA_OK, page.Correct(controller));
    const std::vector<uint16_t> first = page.result;
    for (Caller* failing : {&same, &other}) {
        failing->encoding.luminanceThreshold = failing->encoding.luminanceMax = 0.4f;
        page.result.assign(first.size(), 0xBEEF);
        EXPECT_EQ(QVA_ERROR_PROCESSING, failing->Analyse(controller));
        EXPECT_EQ(failing == &same ? QVA_OK : QVA_ERROR_PROCESSING, page.Correct(controller));
        EXPECT_EQ(failing == &same, page.result == first);
    }
    ASSERT_EQ(QVA_OK, page.Analyse(controller));
    ASSERT_EQ(QVA_OK, page.Correct(controller));
    EXPECT_EQ(first, page.result);
}

TEST(QvaController, CorrectsInPlace)
{
    PrintOnPaper(164);
    Caller caller(301, 203);
    QvaController controller;
    ASSERT_EQ(QVA_OK, caller.Analyse(controller));
    ASSERT_EQ(QVA_OK, caller.Correct(controller));
    caller.dst = caller.src;
    ASSERT_EQ(QVA_OK, caller.Correct(controller));
    EXPECT_EQ(caller.result, caller.source);
}

// Needs a process of its own, as every test has under ctest.
TEST(QvaController, FirstCorrectionFixesIntentAndBlackForAll)
{
    PrintOnPaper(164);
    Caller first, second, unused;
    QvaController one, two;
    EXPECT_EQ(5u, unused.Correct(one));
    EXPECT_TRUE(unused.Untouched());
    ASSERT_EQ(QVA_OK, first.Analyse(one));
    ASSERT_EQ(QVA_OK, first.Analyse(two));
    first.conditions.renderingIntent = 2;
    ASSERT_EQ(QVA_OK, first.Correct(one));
    EXPECT_EQ(2 + 2, FileMatcher().created); // the analyses, then black and table

    PrintOnPaper(164);
    second.conditions.optionFlag = 1;
    second.conditions.outputProfile = "another";
    FileMatcher().created = 0;
    ASSERT_EQ(QVA_OK, second.Correct(two));
    EXPECT_EQ(1, FileMatcher().created);
    EXPECT_EQ(2, FileMatcher().intent);
    EXPECT_EQ(0x20032u, FileMatcher().flags);
    EXPECT_EQ(second.conditions.outputProfile, FileMatcher().descriptors[2].profile);
    EXPECT_EQ(first.result, second.result);
    FileMatcher().answer = nullptr;
    EXPECT_EQ(QVA_ERROR_PROCESSING, second.Correct(two));
}

} // namespace
} // namespace lumo::test
