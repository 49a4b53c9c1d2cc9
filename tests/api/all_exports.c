/* Every export once, as a C host calls them: a program, and a plug-in for reload.c. The profile is
 * none, so prints have no device step. */
#include <lumo/qva.h>
#include <stdio.h>
#include <string.h>

enum { width = 130, height = 127, samples = width * height * 3 };

static int failures = 0;

static void Expect(uint32_t want, uint32_t have, int line)
{
    if (want != have) {
        printf("line %d: %u, not %u\n", line, have, want);
        ++failures;
    }
}
#define EXPECT(want, have) Expect(want, have, __LINE__)

__attribute__((visibility("default"))) int main(void)
{
    static uint16_t in[samples], out[samples], other[samples];
    for (int i = 0; i < samples; ++i) {
        const int field = i / 3 % width < width / 2 ? 6000 : 45000;
        in[i] = other[i] = (uint16_t)(field + i / (3 * width) * 90 + i % 3 * 700);
    }
    static const char noProfile[144];
    const QVA_IMAGE src = {
        width, height, width * 6, 3, 16, QVA_FORMAT_RGB16, QVA_COLOR_SPACE_BT2020, 0, in};
    const QVA_IMAGE dst = {width, height, width * 6, 3, 16, 1, 2, 0, out};
    const QVA_IMAGE both = {width, height, width * 6, 3, 16, 1, 2, 0, other};
    const QVA_SOURCE_RANGE range = {QVA_GAMMA_PQ, 0.005f, 1000.0f};
    const QVA_SOURCE_ENCODING encoding = {1, 2, 0, 0.005f, 84, 1.3f, 65535, 1000.0f, {0}};
    const QVA_OUTPUT_CONDITIONS conditions = {100, 1.3f, 1.0, 1.0, noProfile, 0, 0};
    const QVA_BAND_AREA band = {0, 0, width - 1, height - 1, {1, 1, 0, 0}};
    const QVA_PAGE_AREA page = {0, 0, width - 1, height - 1, width, height};
    QVA_HANDLE h = NULL;
    uint32_t values[7] = {0};
    const uint32_t parameters[7] = {0, 1, 1, 80, 80, 80, 80};
    EXPECT(0, QVA_GetParametersForBandProcessing(NULL, values));
    EXPECT(0, memcmp(values, parameters, sizeof values) != 0);
    EXPECT(5, QVA_GetParametersForBandProcessing(NULL, NULL));
    EXPECT(5, QVA_Terminate(&h));
    EXPECT(5, QVA_ApplyQVAForPrint(h, &dst, &src, &encoding, 160, &conditions));
    EXPECT(0, QVA_Initialize(&h));
    EXPECT(5, QVA_Initialize(&h));
    EXPECT(5, QVA_Analysis(h, &src, NULL, 12, &conditions));
    for (int d = -1; d < 2; d += 2) {
        EXPECT(5, QVA_ApplyQVAForPrint(h, &dst, &src, &encoding, 160 + d, &conditions));
        EXPECT(5, QVA_ApplyQVAForPreview(h, &dst, &src, &encoding, 160 + d, &conditions));
        EXPECT(5, QVA_ApplyQVAForPrint_Wrapper(h, &dst, &src, &range, 12 + d, &conditions));
        EXPECT(5, QVA_ApplyQVAForPreview_Wrapper(h, &dst, &src, &range, 12 + d, &conditions));
        EXPECT(5, QVA_Analysis(h, &src, &range, 12 + d, &conditions));
    }
    EXPECT(0, out[0]);
    EXPECT(0, QVA_ApplyQVAForPrint(h, &dst, &src, &encoding, 160, &conditions));
    EXPECT(0, QVA_ApplyQVAForPrint_Wrapper(h, &both, &both, &range, 12, &conditions));
    EXPECT(0, memcmp(out, other, sizeof out) != 0);
    EXPECT(0, QVA_ApplyQVAForPreview(h, &dst, &src, &encoding, 160, &conditions));
    EXPECT(0, QVA_ApplyQVAForPreview_Wrapper(h, &both, &src, &range, 12, &conditions));
    EXPECT(0, memcmp(out, other, sizeof out) != 0);
    EXPECT(0, QVA_Analysis(h, &src, &range, 12, &conditions));
    EXPECT(1, QVA_CorrectionForPrint(h, &dst, &src, &range, 12, &conditions, &band, &page));
    EXPECT(0, QVA_Terminate(&h));
    return failures == 0 && h == NULL ? 0 : 1;
}
